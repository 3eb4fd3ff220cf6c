#include "EngineParts.h"

#include "CallbackSchemeHandler.h"
#include "EngineTranscript.h"
#include "SheetAuthSession.h"
#include "TeskalScheme.h"

namespace teskal {

EngineParts::EngineParts() {
    registerTeskalScheme();
    registerCallbackScheme();
}

std::unique_ptr<TranscriptPane> EngineParts::makeTranscript(const std::optional<QString>& renderer,
                                                            FileSource* files) {
    return std::make_unique<EngineTranscript>(renderer, files);
}

std::unique_ptr<AuthSession> EngineParts::makeSignInSheet(const QString& storageSuffix,
                                                          std::function<QWidget*()> anchor) {
    return std::make_unique<SheetAuthSession>(storageSuffix, std::move(anchor));
}

} // namespace teskal
