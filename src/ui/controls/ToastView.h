#pragma once

#include <QVariantAnimation>
#include <QWidget>

namespace teskal {

class Theme;

/// The short notice over the window: a pill that fades in, is announced to screen readers as an alert and
/// lets clicks through. Whoever shows it also takes it away; it keeps no time of its own.
class ToastView : public QWidget {
    Q_OBJECT

public:
    ToastView(const Theme& theme, QWidget* parent);

    [[nodiscard]] QString text() const { return text_; }
    /// An empty text takes the notice away.
    void setText(const QString& text);

    /// Where the middle of the pill's lower edge belongs, in the parent's coordinates, and the widest it may
    /// be.
    void setAnchor(const QPoint& bottomCentre, int maximumWidth);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void place();
    void fadeTo(double opacity);

    const Theme& theme_;
    QString text_;
    QString fadingText_;
    QPoint anchor_;
    int maximumWidth_ = 480;
    QVariantAnimation fade_;
};

} // namespace teskal
