#include "ChatGenerator.h"

namespace teskal::bench {

namespace {

const QStringList& latinWords() {
    static const QStringList words{
        QStringLiteral("the"),       QStringLiteral("a"),
        QStringLiteral("of"),        QStringLiteral("system"),
        QStringLiteral("**model**"), QStringLiteral("answer"),
        QStringLiteral("because"),   QStringLiteral("\"quoted\""),
        QStringLiteral("`value`"),   QStringLiteral("and"),
        QStringLiteral("therefore"), QStringLiteral("is"),
        QStringLiteral("network"),   QStringLiteral("[link](https://example.org/a?b=c)"),
        QStringLiteral("reading"),   QStringLiteral("we"),
        QStringLiteral("can"),       QStringLiteral("measure"),
        QStringLiteral("_slowly_"),  QStringLiteral("then"),
    };
    return words;
}

const QStringList& otherWords() {
    static const QStringList words{
        QStringLiteral("größer"),
        QStringLiteral("naïve"),
        QStringLiteral("it’s"),
        QStringLiteral("—"),
        QStringLiteral("Ελλάδα"),
        QStringLiteral("система"),
        QStringLiteral("データベース"),
        QStringLiteral("模型"),
        QStringLiteral("한국어"),
        QStringLiteral("🙂"),
        QStringLiteral("→"),
        QStringLiteral("“so”"),
    };
    return words;
}

} // namespace

int ChatGenerator::below(int limit) {
    // Not a distribution of the standard library: those differ from one library to the next.
    return int(random_() % unsigned(limit));
}

QString ChatGenerator::word() {
    const QStringList& words = below(12) == 0 ? otherWords() : latinWords();
    return words[below(int(words.size()))];
}

QString ChatGenerator::paragraph(int words) {
    QString text;
    for (int i = 0; i < words; ++i) {
        if (i > 0)
            text += QLatin1Char(' ');
        text += word();
    }
    return text + QStringLiteral(".\n\n");
}

QString ChatGenerator::code(int lines) {
    QString text = QStringLiteral("```cpp\n");
    for (int i = 0; i < lines; ++i)
        text += QStringLiteral("    if (items[%1] == \"%2\") return \"\\n\";\n").arg(below(1000)).arg(word());
    return text + QStringLiteral("```\n\n");
}

QString ChatGenerator::table(int rows) {
    QString text = QStringLiteral("| name | value |\n|---|---|\n");
    for (int i = 0; i < rows; ++i)
        text += QStringLiteral("| %1 | %2 |\n").arg(word()).arg(below(100000));
    return text + QLatin1Char('\n');
}

QString ChatGenerator::markdown(int blocks) {
    QString text;
    for (int i = 0; i < blocks; ++i) {
        switch (below(6)) {
        case 0:
            text += QStringLiteral("## ") + paragraph(4);
            break;
        case 1:
            text += code(2 + below(10));
            break;
        case 2:
            text += table(2 + below(6));
            break;
        default:
            text += paragraph(20 + below(60));
            break;
        }
    }
    return text;
}

Attachment ChatGenerator::image() {
    QByteArray pixels(4'000 + below(60'000), Qt::Uninitialized);
    for (char& byte : pixels)
        byte = char(random_());
    return {.name = QStringLiteral("photo %1.png").arg(below(1000)),
            .mediaType = QStringLiteral("image/png"),
            .dataUrl = QStringLiteral("data:image/png;base64,") + QString::fromLatin1(pixels.toBase64()),
            .fileId = {},
            .dropped = false};
}

JSONValue ChatGenerator::route() {
    return JSONValue::Object{
        {QStringLiteral("model"), QStringLiteral("model-%1").arg(below(9))},
        {QStringLiteral("difficulty"), double(below(1000)) / 1000},
        {QStringLiteral("preference"), QStringLiteral("balanced")},
        {QStringLiteral("fallback"), below(2) == 0},
        {QStringLiteral("candidates"), JSONValue::Array{QStringLiteral("a"), QStringLiteral("b")}}};
}

ChatMessage ChatGenerator::question() {
    ChatMessage message;
    message.id = QString::number(random_(), 36);
    message.role = Role::User;
    message.content = markdown(1);
    if (below(60) == 0)
        message.attachments.append(image());
    return message;
}

ChatMessage ChatGenerator::answer() {
    ChatMessage message;
    message.id = QString::number(random_(), 36);
    message.role = Role::Assistant;
    message.content = markdown(4 + below(10));
    message.route = route();
    if (below(30) == 0)
        message.error = MessageError{QStringLiteral("CUT_OFF"), QStringLiteral("The answer was cut off.")};
    return message;
}

Chat ChatGenerator::chat() {
    Chat chat;
    chat.id = QString::number(random_(), 36);
    chat.title = paragraph(4).trimmed();
    chat.createdAt = 1.7e12 + below(1'000'000'000);
    chat.updatedAt = chat.createdAt + below(1'000'000);
    const int exchanges = 3 + below(6);
    for (int i = 0; i < exchanges; ++i) {
        chat.messages.append(question());
        chat.messages.append(answer());
    }
    return chat;
}

} // namespace teskal::bench
