#include "Base64.h"
#include "Columns.h"

#include <QRandomGenerator>

using namespace teskal::test;

/// Against Qt's encoder, and everything that is none.
class TestBase64 final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void readsWhatIsWritten() {
        QRandomGenerator random(1);
        for (int size = 0; size <= 200; ++size) {
            QByteArray bytes(size, '\0');
            random.generate(bytes.begin(), bytes.end());
            for (const auto padding : {QByteArray::KeepTrailingEquals, QByteArray::OmitTrailingEquals}) {
                const QString text = QString::fromLatin1(bytes.toBase64(padding));
                QVERIFY(isBase64(text));
                QCOMPARE(decodeBase64(text).value(), bytes);
            }
        }
    }

    void refusesWhatIsNone_data() {
        rowsOf("text", {"A", "AAAAA", "=", "==", "A=", "A==", "===", "====", "A===", "AA===", "AAA==",
                        "AAAA=", "AAAA==", "AA=A", "=AAA", "AA==AAAA", "AA AA", " AAA", "AAA\n"});
    }
    void refusesWhatIsNone() {
        QFETCH(const QString, text);
        QVERIFY(!isBase64(text));
        QVERIFY(!decodeBase64(text));
    }

    void everyCodeUnit() {
        const QString alphabet = u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"_qs;
        for (int place = 0; place < 7; ++place) { // in a whole group and in the rest behind it
            for (uint unit = 0; unit <= 0xffff; ++unit) {
                QString text(7, u'A');
                text[place] = QChar(char16_t(unit));
                const bool belongs = alphabet.contains(text[place]);
                if (isBase64(text) != belongs || decodeBase64(text).has_value() != belongs)
                    QFAIL(qPrintable(u"%1 at %2"_qs.arg(unit).arg(place)));
            }
        }
    }
};

QTEST_APPLESS_MAIN(TestBase64)
#include "TestBase64.moc"
