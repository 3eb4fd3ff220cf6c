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
    const QString text = shortened(answer.content);
    return text.isEmpty() ? AnswerNotices::tr("Your answer is ready.") : text;
}

} // namespace

AnswerNotices::AnswerNotices(const AppModel& model, QObject* parent) : QObject(parent), model_(model) {
    connect(&model, &AppModel::answered, this, &AnswerNotices::announce);
    connect(&model, &AppModel::selectionChanged, this, &AnswerNotices::withdrawShown);
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, &AnswerNotices::withdrawShown);
    connect(&notifications_, &DesktopNotifications::clicked, this, &AnswerNotices::clicked);
}

void AnswerNotices::announce(const QString& chatId) {
    const Chat* chat = model_.store().chat(chatId);
    if (!chat || chat->messages.isEmpty() || QGuiApplication::applicationState() == Qt::ApplicationActive)
        return;
    if (model_.store().isPrivate(chatId))
        notifications_.show(chatId, QStringLiteral("Teskal"), tr("Your answer is ready."));
    else
        notifications_.show(chatId, shortened(chat->title), noticeText(chat->messages.last()));
}

void AnswerNotices::withdrawShown() {
    if (model_.selection() && QGuiApplication::applicationState() == Qt::ApplicationActive)
        notifications_.withdraw(*model_.selection());
}

} // namespace teskal
