#pragma once

#include <QString>
#include <QWidget>

#include <memory>

class QWebEnginePage;
class QWebEngineProfile;

namespace teskal::bench {

/// What a web view costs by itself: one page under the private scheme that holds \a html and nothing of ours,
/// in a window as large as the transcript's, with a profile that keeps nothing.
class BareView {
public:
    explicit BareView(const QByteArray& html = {});
    ~BareView();

    /// Shows the window, loads the page and waits until it is there.
    void open();
    QWebEnginePage& page() { return *page_; }

private:
    std::unique_ptr<QWebEngineProfile> profile_;
    std::unique_ptr<QWebEnginePage> page_;
    QWidget window_; // its view goes before the page
};

} // namespace teskal::bench
