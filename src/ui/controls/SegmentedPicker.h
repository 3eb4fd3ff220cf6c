#pragma once

#include <QStringList>
#include <QWidget>

class QAbstractButton;

namespace teskal {

class Theme;

/// A few choices side by side, one of them taken: one stop for Tab, arrows move the choice.
class SegmentedPicker : public QWidget {
    Q_OBJECT

public:
    /// \a choices must not be empty; the first is taken.
    SegmentedPicker(const Theme& theme, const QStringList& choices, QWidget* parent = nullptr);

    [[nodiscard]] int current() const;
    void setCurrent(int index);

Q_SIGNALS:
    /// Another one is taken.
    void currentChanged(int index);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Theme& theme_;
    QList<QAbstractButton*> segments_;
};

} // namespace teskal
