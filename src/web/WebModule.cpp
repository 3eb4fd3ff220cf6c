#include "WebModule.h"

#include "Error.h"
#include "Module.h"
#include "TranscriptPane.h"

namespace teskal {

WebParts& WebModule::parts() {
    if (!parts_)
        parts_ = static_cast<WebParts*>(moduleParts("web"));
    if (!parts_)
        throw Error(QStringLiteral(
            "Part of Teskal is missing or damaged. Install Teskal again, then start it again."));
    return *parts_;
}

std::unique_ptr<TranscriptPane> WebModule::makeTranscript(const std::optional<QString>& renderer,
                                                          FileSource* files) {
    return parts().makeTranscript(renderer, files);
}

std::unique_ptr<AuthSession> WebModule::makeSignInSheet(const QString& storageSuffix,
                                                        std::function<QWidget*()> anchor) {
    return parts().makeSignInSheet(storageSuffix, std::move(anchor));
}

} // namespace teskal
