#include "LazyLibrary.h"

#include <QTest>

#include <zlib.h>

#define COMPLETE(USE, Table)                                                                                 \
    USE(z, 1, zlibVersion, Table)                                                                            \
    USE(z, 1, crc32, Table)
#define INCOMPLETE(USE, Table)                                                                               \
    USE(z, 1, zlibVersion, Table)                                                                            \
    USE(z, 99, crc32, Table)

namespace teskal {

struct Complete {
    COMPLETE(TESKAL_LAZY_MEMBER, Complete)
    static const Complete& get() {
        static const Complete loaded;
        return loaded;
    }
    bool isThere() const { return true COMPLETE(TESKAL_LAZY_IS_THERE, Complete); }
};
COMPLETE(TESKAL_LAZY_CALL, Complete)

struct Incomplete {
    INCOMPLETE(TESKAL_LAZY_MEMBER, Incomplete)
    bool isThere() const { return true INCOMPLETE(TESKAL_LAZY_IS_THERE, Incomplete); }
};

class TestLazyLibrary : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void looksUp_data() {
        QTest::addColumn<QByteArray>("library");
        QTest::addColumn<int>("version");
        QTest::addColumn<QByteArray>("function");
        QTest::addColumn<bool>("found");
        QTest::newRow("there") << QByteArray("z") << 1 << QByteArray("crc32") << true;
        QTest::newRow("no such function") << QByteArray("z") << 1 << QByteArray("crc31") << false;
        QTest::newRow("another version") << QByteArray("z") << 99 << QByteArray("crc32") << false;
        QTest::newRow("no such library") << QByteArray("teskal-none") << 1 << QByteArray("crc32") << false;
    }
    void looksUp() {
        QFETCH(QByteArray, library);
        QFETCH(int, version);
        QFETCH(QByteArray, function);
        QTEST(lazyFunction(library.constData(), version, function.constData()) != nullptr, "found");
    }

    void oneMissingFunctionIsTold() {
        QVERIFY(Complete::get().isThere());
        const QByteArray text("123456789");
        QCOMPARE(crc32(0UL, reinterpret_cast<const Bytef*>(text.constData()), uInt(text.size())),
                 0xcbf43926UL);
        QVERIFY(!Incomplete().isThere());
    }
};

} // namespace teskal

QTEST_APPLESS_MAIN(teskal::TestLazyLibrary)
#include "TestLazyLibrary.moc"
