#pragma once

#include "WebParts.h"

namespace teskal {

/// The parts out of a module of their own, which is loaded with the web engine when the first is made:
/// loading that takes longer than the window's first picture.
class WebModule final : public WebParts {
public:
    std::unique_ptr<TranscriptPane> makeTranscript(const std::optional<QString>& renderer,
                                                   FileSource* files) override;
    std::unique_ptr<AuthSession> makeSignInSheet(const QString& storageSuffix,
                                                 std::function<QWidget*()> anchor) override;

private:
    /// Throws an Error when the module is missing, cannot be loaded or is another build's. Asked again, it
    /// tries again.
    WebParts& parts();

    WebParts* parts_ = nullptr; ///< the module's, which is never unloaded
};

} // namespace teskal
