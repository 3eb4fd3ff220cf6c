#pragma once

#include "DesktopNotifications.h"

#include <QObject>

namespace teskal {

class AppModel;
struct Chat;
struct ChatMessage;

/// Tells the user through the desktop that an answer, or the video or song that it began, has come to its end
/// while the application is in the background. Of a private chat no word is shown.
class AnswerNotices final : public QObject {
    Q_OBJECT

public:
    /// \a model must outlive this object.
    explicit AnswerNotices(const AppModel& model, QObject* parent = nullptr);

Q_SIGNALS:
    /// The user clicked a notice. \a activationToken lets a window come to the front; it may be empty.
    void clicked(const QString& chatId, const QByteArray& activationToken);

private:
    void announceAnswer(const QString& chatId);
    void announceJob(const QString& chatId, const QString& messageId);
    void announce(const Chat& chat, const ChatMessage& answer);
    void withdrawShown();

    const AppModel& model_;
    QString private_; ///< the private chat that was announced last
    DesktopNotifications notifications_;
};

} // namespace teskal
