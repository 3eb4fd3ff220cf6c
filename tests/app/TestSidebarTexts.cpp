#include "BalanceLine.h"
#include "Chat.h"
#include "ChatMarkdown.h"
#include "Columns.h"

using namespace teskal::test;

Q_DECLARE_METATYPE(std::optional<teskal::Billing>)

class TestSidebarTexts : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void balances_data() {
        const auto row =
            columns<std::optional<Billing>, bool, QLocale, QString>("billing", "failed", "locale", "line");
        const QLocale english(QLocale::English);
        const auto billing = [](bool enabled, std::optional<qint64> balance) {
            return std::optional(Billing{enabled, balance, std::nullopt, std::nullopt});
        };
        const QString unavailable = u"Balance unavailable"_qs;
        row("not yet read", std::optional<Billing>(), false, english, QString());
        row("not read", std::optional<Billing>(), true, english, unavailable);
        row("known", billing(true, 1234), false, english, "1,234 credits");
        row("known before a failure", billing(true, 0), true, english, "0 credits");
        row("owed", billing(true, -5), false, english, "-5 credits");
        row("none told", billing(true, std::nullopt), false, english, unavailable);
        row("free", billing(false, 12), false, english, "Free on this deployment");
        row("as in German", billing(true, 1234567), false, QLocale(QLocale::German), "1.234.567 credits");
        row("without a locale", billing(true, 1234), false, QLocale::c(), "1,234 credits");
    }

    void balances() {
        FETCH(std::optional<Billing>, billing, bool, failed, QLocale, locale);
        const QLocale before;
        QLocale::setDefault(locale);
        QTEST(balanceLine(billing, failed), "line");
        QLocale::setDefault(before);
    }

    void transcript() {
        Chat chat;
        chat.title = u"A *small* [parser]\nand more"_qs;
        ChatMessage question;
        question.content = u"Which language?\n"_qs;
        question.attachments.append({u"my_grammar.pdf"_qs, u"application/pdf"_qs,
                                     u"data:application/pdf;base64,AAAA"_qs, std::nullopt, false});
        ChatMessage answer;
        answer.role = Role::Assistant;
        answer.content = u"Use **C++**:\n\n```cpp\nint a_b;\n```"_qs;
        ChatMessage picture;
        picture.role = Role::Assistant;
        picture.media = Media{};
        picture.media->type = u"video"_qs;
        picture.media->prompt = u"a\n_cat_"_qs;
        ChatMessage failed;
        failed.role = Role::Assistant;
        failed.content = u"Half"_qs;
        failed.error = MessageError{std::nullopt, u"The answer was cut off."_qs};
        chat.messages = {question, answer, picture, failed};
        QCOMPARE(chatMarkdown(chat), u"# A \\*small\\* \\[parser\\]\n\n"
                                     "## You\n\n- my\\_grammar.pdf\n\nWhich language?\n\n"
                                     "## Teskal\n\nUse **C++**:\n\n```cpp\nint a_b;\n```\n\n"
                                     "## Teskal\n\n*Generated video: a \\_cat\\_*\n\n"
                                     "## Teskal\n\nHalf\n\n*The answer was cut off.*\n"_qs);
    }
};

QTEST_GUILESS_MAIN(TestSidebarTexts)
#include "TestSidebarTexts.moc"
