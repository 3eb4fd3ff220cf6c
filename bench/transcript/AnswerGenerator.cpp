#include "AnswerGenerator.h"

#include <QStringList>

namespace teskal::bench {

namespace {

const QStringList& plainWords() {
    static const QStringList words =
        QStringLiteral("the a of system model answer because value and therefore is network reading we can "
                       "measure slowly then which every request between größer naïve Ελλάδα система 模型 — "
                       "latency budget cache result compare however several")
            .split(QLatin1Char(' '));
    return words;
}

const QStringList& richWords() {
    static const QStringList words{
        QStringLiteral("**important**"),
        QStringLiteral("*often*"),
        QStringLiteral("`value_of(x)`"),
        QStringLiteral("~~never~~"),
        QStringLiteral("`--verbose`"),
        QStringLiteral("**`both`**"),
        QStringLiteral("[the manual](https://example.org/manual?page=2)"),
        QStringLiteral("https://example.org/notes"),
    };
    return words;
}

} // namespace

int AnswerGenerator::below(int limit) {
    // Not a distribution of the standard library: those differ from one library to the next.
    return int(random_() % unsigned(limit));
}

QString AnswerGenerator::formula() {
    static const QStringList formulas{
        QStringLiteral("x_{%1}^2 + y^2 = r^2"),   QStringLiteral("\\frac{a + %1}{b}"),
        QStringLiteral("\\sum_{i=1}^{%1} i^2"),   QStringLiteral("\\sqrt{%1 x}"),
        QStringLiteral("\\int_0^{%1} f(t)\\,dt"),
    };
    return formulas[below(int(formulas.size()))].arg(below(1000));
}

QString AnswerGenerator::word() {
    if (below(40) == 0)
        return QLatin1Char('$') + formula() + QLatin1Char('$');
    const QStringList& words = below(10) == 0 ? richWords() : plainWords();
    return words[below(int(words.size()))];
}

QString AnswerGenerator::words(int count) {
    QStringList words;
    while (words.size() < count)
        words += word();
    return words.join(QLatin1Char(' '));
}

QString AnswerGenerator::sentence() {
    return QStringLiteral("The ") + words(6 + below(14)) + QStringLiteral(". ");
}

QString AnswerGenerator::paragraph() {
    QString text;
    for (int left = 2 + below(4); left > 0; --left)
        text += sentence();
    return text.trimmed() + QStringLiteral("\n\n");
}

QString AnswerGenerator::codeLine() {
    static const QStringList lines{
        QStringLiteral("    if (items[%1] > limit) return \"too many\"; // checked above\n"),
        QStringLiteral("    const value%1 = compute(%1, 'name', true);\n"),
        QStringLiteral("    for (let i = 0; i < %1; i += 1) total += i * 2.5;\n"),
        QStringLiteral("}\n"),
        QStringLiteral("function part%1(first, second) {\n"),
    };
    const QString& line = lines[below(int(lines.size()))];
    return line.contains(QLatin1String("%1")) ? line.arg(below(1000)) : line;
}

QString AnswerGenerator::code() {
    static const QStringList languages{QStringLiteral("cpp"), QStringLiteral("javascript"),
                                       QStringLiteral("python"), QStringLiteral("rust")};
    QString text = QStringLiteral("```") + languages[below(int(languages.size()))] + QLatin1Char('\n');
    for (int left = 3 + below(20); left > 0; --left)
        text += codeLine();
    return text + QStringLiteral("```\n\n");
}

QString AnswerGenerator::bulletList(bool numbered) {
    QString text;
    const int items = 3 + below(6);
    for (int item = 1; item <= items; ++item) {
        text += numbered ? QStringLiteral("%1. ").arg(item) : QStringLiteral("- ");
        text += words(4 + below(16)) + QLatin1Char('\n');
        if (below(5) == 0)
            text += QStringLiteral("   - ") + words(5) + QLatin1Char('\n');
    }
    return text + QLatin1Char('\n');
}

QString AnswerGenerator::row() {
    return QStringLiteral("| %1 | %2 | %3 |\n").arg(words(2), words(4)).arg(below(100000));
}

QString AnswerGenerator::smallTable() {
    QString text = QStringLiteral("| name | meaning | value |\n|---|:--|--:|\n");
    for (int left = 2 + below(8); left > 0; --left)
        text += row();
    return text + QLatin1Char('\n');
}

QString AnswerGenerator::block() {
    switch (below(12)) {
    case 0:
        return QStringLiteral("## The ") + words(4) + QStringLiteral("\n\n");
    case 1:
    case 2:
        return code();
    case 3:
        return smallTable();
    case 4:
    case 5:
        return bulletList(below(2) == 0);
    case 6:
        return QStringLiteral("$$\n") + formula() + QStringLiteral("\n$$\n\n");
    case 7:
        return QStringLiteral("> ") + paragraph();
    default:
        return paragraph();
    }
}

QString AnswerGenerator::mixed(qsizetype length) {
    QString text;
    while (text.size() < length)
        text += block();
    return text;
}

QString AnswerGenerator::fence(qsizetype length) {
    QString text = QStringLiteral("```javascript\n");
    while (text.size() < length)
        text += codeLine();
    return text;
}

QString AnswerGenerator::list(qsizetype length) {
    QString text;
    while (text.size() < length)
        text += QStringLiteral("- ") + words(4 + below(16)) + QLatin1Char('\n');
    return text;
}

QString AnswerGenerator::table(qsizetype length) {
    QString text = QStringLiteral("| name | meaning | value |\n|---|:--|--:|\n");
    while (text.size() < length)
        text += row();
    return text;
}

QList<ChatMessage> AnswerGenerator::conversation(int pairs, qsizetype answerLength) {
    QList<ChatMessage> messages;
    for (int pair = 0; pair < pairs; ++pair) {
        ChatMessage question;
        question.id = QStringLiteral("q%1").arg(pair);
        question.content = words(8 + below(20));
        messages.append(question);

        ChatMessage answer;
        answer.id = QStringLiteral("a%1").arg(pair);
        answer.role = Role::Assistant;
        answer.content = mixed(answerLength);
        answer.route = JSONValue::Object{{QStringLiteral("model"), QStringLiteral("model-%1").arg(below(9))},
                                         {QStringLiteral("task"), QStringLiteral("coding")},
                                         {QStringLiteral("difficulty"), QStringLiteral("medium")}};
        messages.append(answer);
    }
    return messages;
}

} // namespace teskal::bench
