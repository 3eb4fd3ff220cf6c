#pragma once

#include <QWebEngineView>

namespace teskal {

class TranscriptPage;

/// The page in the window. What is dropped on it goes to the widget around; its menu holds only what makes
/// sense for text.
class TranscriptView final : public QWebEngineView {
    Q_OBJECT

public:
    /// \a page must outlive the view.
    explicit TranscriptView(TranscriptPage& page, QWidget* parent = nullptr);

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    void childEvent(QChildEvent* event) override;
};

} // namespace teskal
