#pragma once

#include "SchemeRequests.h"

#include <QWebEngineUrlSchemeHandler>

namespace teskal {

/// Gives the engine the answers to requests under the private scheme.
class BundleSchemeHandler final : public QWebEngineUrlSchemeHandler {
    Q_OBJECT

public:
    /// As SchemeRequests takes them.
    BundleSchemeHandler(RendererFiles renderer, FileSource* files, const InlineFiles& inlineFiles,
                        QObject* parent = nullptr);

    void requestStarted(QWebEngineUrlRequestJob* job) override;

private:
    SchemeRequests requests_;
};

} // namespace teskal
