#pragma once

#include "WebParts.h"

namespace teskal {

/// With Qt's web engine.
class EngineParts final : public WebParts {
public:
    /// Tells the engine about our schemes, which must be before anything starts it.
    EngineParts();

    std::unique_ptr<TranscriptPane> makeTranscript(const std::optional<QString>& renderer,
                                                   FileSource* files) override;
    std::unique_ptr<AuthSession> makeSignInSheet(const QString& storageSuffix,
                                                 std::function<QWidget*()> anchor) override;
};

} // namespace teskal
