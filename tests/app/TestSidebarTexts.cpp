#include "BalanceLine.h"
#include "Chat.h"
#include "ChatMarkdown.h"

#include <QLocale>
#include <QTest>

using namespace teskal;

Q_DECLARE_METATYPE(std::optional<teskal::Billing>)

class TestSidebarTexts : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void balances_data();
    void balances();
    void transcript();
};

void TestSidebarTexts::balances_data() {
    QTest::addColumn<std::optional<Billing>>("billing");
    QTest::addColumn<bool>("failed");
    QTest::addColumn<QLocale>("locale");
    QTest::addColumn<QString>("line");
    const QLocale english(QLocale::English);
    const auto billing = [](bool enabled, std::optional<qint64> balance) {
        return std::optional(Billing{enabled, balance, std::nullopt, std::nullopt});
    };
    const QString unavailable = QStringLiteral("Balance unavailable");
    QTest::newRow("not yet read") << std::optional<Billing>() << false << english << QString();
    QTest::newRow("not read") << std::optional<Billing>() << true << english << unavailable;
    QTest::newRow("known") << billing(true, 1234) << false << english << QStringLiteral("1,234 credits");
    QTest::newRow("known before a failure")
        << billing(true, 0) << true << english << QStringLiteral("0 credits");
    QTest::newRow("owed") << billing(true, -5) << false << english << QStringLiteral("-5 credits");
    QTest::newRow("none told") << billing(true, std::nullopt) << false << english << unavailable;
    QTest::newRow("free") << billing(false, 12) << false << english
                          << QStringLiteral("Free on this deployment");
    QTest::newRow("as in German") << billing(true, 1234567) << false << QLocale(QLocale::German)
                                  << QStringLiteral("1.234.567 credits");
    QTest::newRow("without a locale")
        << billing(true, 1234) << false << QLocale::c() << QStringLiteral("1,234 credits");
}

void TestSidebarTexts::balances() {
    QFETCH(const std::optional<Billing>, billing);
    QFETCH(const bool, failed);
    QFETCH(const QLocale, locale);
    const QLocale before;
    QLocale::setDefault(locale);
    QTEST(balanceLine(billing, failed), "line");
    QLocale::setDefault(before);
}

void TestSidebarTexts::transcript() {
    Chat chat;
    chat.title = QStringLiteral("A *small* [parser]\nand more");
    ChatMessage question;
    question.content = QStringLiteral("Which language?\n");
    question.attachments.append({QStringLiteral("my_grammar.pdf"), QStringLiteral("application/pdf"),
                                 QStringLiteral("data:application/pdf;base64,AAAA"), std::nullopt, false});
    ChatMessage answer;
    answer.role = Role::Assistant;
    answer.content = QStringLiteral("Use **C++**:\n\n```cpp\nint a_b;\n```");
    ChatMessage picture;
    picture.role = Role::Assistant;
    picture.media = Media{};
    picture.media->type = QStringLiteral("video");
    picture.media->prompt = QStringLiteral("a\n_cat_");
    ChatMessage failed;
    failed.role = Role::Assistant;
    failed.content = QStringLiteral("Half");
    failed.error = MessageError{std::nullopt, QStringLiteral("The answer was cut off.")};
    chat.messages = {question, answer, picture, failed};
    QCOMPARE(chatMarkdown(chat), QStringLiteral("# A \\*small\\* \\[parser\\]\n\n"
                                                "## You\n\n- my\\_grammar.pdf\n\nWhich language?\n\n"
                                                "## Teskal\n\nUse **C++**:\n\n```cpp\nint a_b;\n```\n\n"
                                                "## Teskal\n\n*Generated video: a \\_cat\\_*\n\n"
                                                "## Teskal\n\nHalf\n\n*The answer was cut off.*\n"));
}

QTEST_GUILESS_MAIN(TestSidebarTexts)
#include "TestSidebarTexts.moc"
