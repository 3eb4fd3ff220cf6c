#pragma once

#include "RendererFiles.h"

#include <QWebEngineUrlSchemeHandler>

namespace teskal {

/// Answers every request under the private scheme. Hosts: "renderer" for the page's own files.
class BundleSchemeHandler final : public QWebEngineUrlSchemeHandler {
    Q_OBJECT

public:
    explicit BundleSchemeHandler(RendererFiles files, QObject* parent = nullptr);

    void requestStarted(QWebEngineUrlRequestJob* job) override;

private:
    RendererFiles files_;
};

} // namespace teskal
