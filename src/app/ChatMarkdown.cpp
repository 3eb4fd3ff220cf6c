#include "ChatMarkdown.h"

#include "Chat.h"

#include <QCoreApplication>
#include <QStringList>

namespace teskal {

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("ChatMarkdown", text);
}

/// On one line, and without anything that Markdown would take for a mark.
QString plain(const QString& text) {
    static const QString marks = QStringLiteral("\\`*_[]<>#|~");
    QString escaped;
    for (const QChar letter : text.simplified()) {
        if (marks.contains(letter))
            escaped += QLatin1Char('\\');
        escaped += letter;
    }
    return escaped;
}

QString mediaLine(const Media& media) {
    QString what = tr("Generated image");
    if (media.isVideo())
        what = tr("Generated video");
    else if (media.isSong())
        what = tr("Generated song");
    return QStringLiteral("*%1*").arg(media.prompt ? what + QStringLiteral(": ") + plain(*media.prompt)
                                                   : what);
}

QString messageMarkdown(const ChatMessage& message) {
    QStringList parts{QStringLiteral("## ") + (message.role == Role::User ? tr("You") : tr("Teskal"))};
    QStringList files;
    for (const Attachment& file : message.attachments)
        files.append(QStringLiteral("- ") + plain(file.name));
    if (!files.isEmpty())
        parts.append(files.join(QLatin1Char('\n')));
    if (const QString text = message.content.trimmed(); !text.isEmpty())
        parts.append(text);
    if (message.media)
        parts.append(mediaLine(*message.media));
    if (message.error)
        parts.append(QStringLiteral("*%1*").arg(plain(message.error->message)));
    return parts.join(QStringLiteral("\n\n"));
}

} // namespace

QString chatMarkdown(const Chat& chat) {
    QStringList parts{QStringLiteral("# ") + plain(chat.title.section(QLatin1Char('\n'), 0, 0))};
    for (const ChatMessage& message : chat.messages)
        parts.append(messageMarkdown(message));
    return parts.join(QStringLiteral("\n\n")) + QLatin1Char('\n');
}

} // namespace teskal
