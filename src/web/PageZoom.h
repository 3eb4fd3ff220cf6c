#pragma once

#include <QObject>
#include <QPointer>

class QWebEngineView;

namespace teskal {

/// How large the transcript is drawn: in steps, from half to three times its size.
class PageZoom final : public QObject {
    Q_OBJECT

public:
    /// \a view, as long as it lives, is drawn so.
    explicit PageZoom(QWebEngineView& view);

    void in();
    void out();
    void reset();

private:
    void set(double factor);

    QPointer<QWebEngineView> view_;
    double factor_ = 1;
};

} // namespace teskal
