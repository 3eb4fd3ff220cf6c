#include "Columns.h"
#include "LazyLibrary.h"

#include <zlib.h>

#define COMPLETE(USE, Table)                                                                                 \
    USE(z, 1, zlibVersion, Table)                                                                            \
    USE(z, 1, crc32, Table)
#define INCOMPLETE(USE, Table)                                                                               \
    USE(z, 1, zlibVersion, Table)                                                                            \
    USE(z, 99, crc32, Table)

using namespace teskal::test;

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
        const auto row =
            columns<QByteArray, int, QByteArray, bool>("library", "version", "function", "found");
        row("there", "z", 1, "crc32", true);
        row("no such function", "z", 1, "crc31", false);
        row("another version", "z", 99, "crc32", false);
        row("no such library", "teskal-none", 1, "crc32", false);
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
