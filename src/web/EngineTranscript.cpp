#include "EngineTranscript.h"

#include "TranscriptPage.h"

namespace teskal {

EngineTranscript::EngineTranscript(const std::optional<QString>& renderer, FileSource* files)
    : port_(RendererFiles(renderer), files), finder_(port_), view_(new TranscriptView(port_.page())),
      zoom_(*view_) {
    connect(&port_, &WebPagePort::linkActivated, this, &EngineTranscript::linkActivated);
    connect(&port_, &WebPagePort::gaveUp, this, &EngineTranscript::gaveUp);
    connect(&port_.page(), &TranscriptPage::fullScreenChanged, this, &EngineTranscript::fullScreenChanged);
    connect(&finder_, &PageFinder::counted, this, &EngineTranscript::counted);
}

EngineTranscript::~EngineTranscript() {
    delete view_; // its page must outlive it
}

void EngineTranscript::setFirstLook(PageTheme theme, const QColor& background) {
    port_.setFirstLook(theme, background);
}

void EngineTranscript::copy() {
    port_.page().triggerAction(QWebEnginePage::Copy);
}

void EngineTranscript::selectAll() {
    port_.page().triggerAction(QWebEnginePage::SelectAll);
}

void EngineTranscript::leaveFullScreen() {
    port_.page().triggerAction(QWebEnginePage::ExitFullScreen);
}

} // namespace teskal
