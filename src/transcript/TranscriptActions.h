#pragma once

#include <QString>

namespace teskal {

/// What the transcript page can ask the application to do.
class TranscriptActions {
public:
    virtual ~TranscriptActions() = default;

    /// The page is empty and ready: show it the current chat, its busy flag and the theme.
    virtual void showCurrentChat() = 0;
    virtual void send(const QString& text) = 0;
    virtual void retry() = 0;
    virtual void copyText(const QString& text) = 0;
    virtual void openLink(const QString& url) = 0;
    virtual void signIn() = 0;
};

} // namespace teskal
