#pragma once

#include <QCoroTask>
#include <QList>
#include <QString>
#include <QUrl>

#include <stop_token>

namespace teskal {

/// What the service answered to a request of the page.
struct FetchReply {
    int status = 0; ///< of HTTP
    QString contentType;
    QString body;
};

/// What the transcript page can ask the application to do.
class TranscriptActions {
public:
    virtual ~TranscriptActions() = default;

    /// The page is empty and ready: show it the current chat, its busy flag and the theme.
    virtual void showCurrentChat() = 0;
    virtual void send(const QString& text) = 0;
    virtual void retry() = 0;
    virtual void copyText(const QString& text) = 0;
    /// Reads \a text, of the message, aloud; stops when it is being read.
    virtual void speak(const QString& messageId, const QString& text) = 0;
    /// Saves what was generated for the message to a place the user picks.
    virtual void saveMedia(const QString& messageId) = 0;
    /// Opens the account sheet of this name; unknown names are ignored.
    virtual void openSheet(const QString& name) = 0;
    virtual void openLink(const QString& url) = 0;
    virtual void signIn() = 0;
    /// Takes files for the next message.
    virtual void attach(const QList<QUrl>& files) = 0;
    /// Gives the composer the keyboard focus.
    virtual void takeFocusToComposer() = 0;
    /// Asks the service on behalf of the page; what the page may not ask is answered without asking. \a body
    /// is empty for none. Throws Cancelled and nothing else.
    virtual QCoro::Task<FetchReply> passthrough(QString path, QString method, QString body,
                                                std::stop_token stop) = 0;
};

} // namespace teskal
