#pragma once

#include "DesktopNotifications.h"

#include <QObject>

namespace teskal {

class AppModel;

/// Tells the user through the desktop that an answer has come to its end while the application is in the
/// background. Of a private chat no word is shown.
class AnswerNotices final : public QObject {
    Q_OBJECT

public:
    /// \a model must outlive this object.
    explicit AnswerNotices(const AppModel& model, QObject* parent = nullptr);

Q_SIGNALS:
    /// The user clicked a notice. \a activationToken lets a window come to the front; it may be empty.
    void clicked(const QString& chatId, const QByteArray& activationToken);

private:
    void announce(const QString& chatId);
    void withdrawShown();

    const AppModel& model_;
    DesktopNotifications notifications_;
};

} // namespace teskal
