#include "AnswerNotices.h"

#include "AppModel.h"

#include <QGuiApplication>

namespace teskal {

namespace {

constexpr qsizetype longestText = 200; // characters; desktops show two or three lines

QString shortened(const QString& text) {
    // A long text is cut first: only its beginning has to be looked at.
    const QString line = text.left(4 * longestText).simplified();
    return line.size() > longestText ? line.left(longestText - 1) + QStringLiteral("…") : line;
}

QString noticeText(const ChatMessage& answer) {
    if (answer.error)
        return answer.error->message;
    if (answer.media && answer.media->status == QLatin1String("error") && answer.media->message)
        return shortened(*answer.media->message);
    const QString text = shortened(answer.content);
    return text.isEmpty() ? AnswerNotices::tr("Your answer is ready.") : text;
}

} // namespace

AnswerNotices::AnswerNotices(const AppModel& model, QObject* parent) : QObject(parent), model_(model) {
    connect(&model, &AppModel::answered, this, &AnswerNotices::announceAnswer);
    connect(&model, &AppModel::jobEnded, this, &AnswerNotices::announceJob);
    // Nothing is told of chats that are gone.
    connect(&model.store(), &ChatStore::chatRemoved, &notifications_,
            [this](int, const QString& chatId) { notifications_.withdraw(chatId); });
    connect(&model.store(), &ChatStore::privateChatEnded, this,
            [this] { notifications_.withdraw(private_); });
    connect(&model.store(), &ChatStore::listReset, &notifications_, &DesktopNotifications::withdrawAll);
    connect(&model, &AppModel::selectionChanged, this, &AnswerNotices::withdrawShown);
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, &AnswerNotices::withdrawShown);
    connect(&notifications_, &DesktopNotifications::clicked, this, &AnswerNotices::clicked);
}

void AnswerNotices::announceAnswer(const QString& chatId) {
    const Chat* chat = model_.store().chat(chatId);
    if (chat && !chat->messages.isEmpty())
        announce(*chat, chat->messages.last());
}

void AnswerNotices::announceJob(const QString& chatId, const QString& messageId) {
    const ChatMessage* answer = model_.store().message(chatId, messageId);
    if (answer)
        announce(*model_.store().chat(chatId), *answer);
}

void AnswerNotices::announce(const Chat& chat, const ChatMessage& answer) {
    const bool isOnItsWay = answer.media && answer.media->isPending();
    if (isOnItsWay || QGuiApplication::applicationState() == Qt::ApplicationActive)
        return;
    if (model_.store().isPrivate(chat.id)) {
        private_ = chat.id;
        notifications_.show(chat.id, QStringLiteral("Teskal"), tr("Your answer is ready."));
    } else {
        notifications_.show(chat.id, shortened(chat.title), noticeText(answer));
    }
}

void AnswerNotices::withdrawShown() {
    if (model_.selection() && QGuiApplication::applicationState() == Qt::ApplicationActive)
        notifications_.withdraw(*model_.selection());
}

} // namespace teskal
