#include "controls/keyHint.h"

#include <QTest>

using namespace teskal;

class TestKeyHint : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void names_data();
    void names();
};

void TestKeyHint::names_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    QTest::newRow("command") << QStringLiteral("Attach (⌘U)") << QStringLiteral("Attach (Ctrl+U)");
    QTest::newRow("shifted") << QStringLiteral("New (⇧⌘N)") << QStringLiteral("New (Ctrl+Shift+N)");
    QTest::newRow("option") << QStringLiteral("New folder (⌥⌘N)")
                            << QStringLiteral("New folder (Ctrl+Alt+N)");
    QTest::newRow("full stop") << QStringLiteral("Stop (⌘.)") << QStringLiteral("Stop (Ctrl+.)");
    QTest::newRow("delete") << QStringLiteral("Delete (⇧⌘⌫)")
                            << QStringLiteral("Delete (Ctrl+Shift+Backspace)");
    QTest::newRow("last brackets only")
        << QStringLiteral("A (b) c (⌘N)") << QStringLiteral("A (b) c (Ctrl+N)");
    QTest::newRow("named key") << QStringLiteral("Send (Return)") << QStringLiteral("Send (Return)");
    QTest::newRow("no hint") << QStringLiteral("Dictate") << QStringLiteral("Dictate");
    QTest::newRow("not at the end") << QStringLiteral("(⌘N) first") << QStringLiteral("(⌘N) first");
    QTest::newRow("modifiers alone") << QStringLiteral("Odd (⌘)") << QStringLiteral("Odd (⌘)");
    QTest::newRow("empty brackets") << QStringLiteral("Odd ()") << QStringLiteral("Odd ()");
}

void TestKeyHint::names() {
#ifdef Q_OS_MACOS
    QSKIP("on a Mac the symbols are the key names");
#endif
    QFETCH(const QString, text);
    QTEST(keyHint(text), "shown");
}

QTEST_MAIN(TestKeyHint)
#include "TestKeyHint.moc"
