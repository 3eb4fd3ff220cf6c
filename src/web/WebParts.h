#pragma once

#include "AuthSession.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>

class QWidget;

namespace teskal {

class FileSource;
class TranscriptPane;

/// Makes what the application shows with the web engine. The engine may be started by the first call.
class WebParts {
public:
    virtual ~WebParts() = default;

    /// The transcript, with its page from \a renderer, which is none when it is missing. \a files is where
    /// the page's stored files come from; it must outlive the pane. Throws an Error when there is no engine.
    virtual std::unique_ptr<TranscriptPane> makeTranscript(const std::optional<QString>& renderer,
                                                           FileSource* files) = 0;
    /// Sign-in in a sheet over the window that \a anchor gives, on its own where it gives null.
    /// \a storageSuffix as in Config. Throws an Error when there is no engine.
    virtual std::unique_ptr<AuthSession> makeSignInSheet(const QString& storageSuffix,
                                                         std::function<QWidget*()> anchor) = 0;
};

} // namespace teskal
