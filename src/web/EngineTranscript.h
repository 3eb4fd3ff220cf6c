#pragma once

#include "PageFinder.h"
#include "PageZoom.h"
#include "TranscriptPane.h"
#include "TranscriptView.h"
#include "WebPagePort.h"

#include <QPointer>

namespace teskal {

/// The transcript page in a view of the web engine.
class EngineTranscript final : public TranscriptPane {
    Q_OBJECT

public:
    /// As WebParts::makeTranscript() takes them.
    EngineTranscript(const std::optional<QString>& renderer, FileSource* files);
    ~EngineTranscript() override;

    PagePort& port() override { return port_; }
    QWidget& widget() override { return *view_; }

    void setFirstLook(PageTheme theme, const QColor& background) override;
    void setFonts(const QString& text, const QString& code) override { port_.setFonts(text, code); }
    void load() override { port_.load(); }

    void find(const QString& text) override { finder_.search(text); }
    void findNext() override { finder_.next(); }
    void findPrevious() override { finder_.previous(); }

    void zoomIn() override { zoom_.in(); }
    void zoomOut() override { zoom_.out(); }
    void resetZoom() override { zoom_.reset(); }

    void copy() override;
    void selectAll() override;
    void leaveFullScreen() override;

private:
    WebPagePort port_;
    PageFinder finder_;
    QPointer<TranscriptView> view_;
    PageZoom zoom_;
};

} // namespace teskal
