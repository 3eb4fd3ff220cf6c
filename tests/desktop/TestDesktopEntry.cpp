#include "DesktopEntry.h"

#include <QTest>

using namespace teskal;

class TestDesktopEntry final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void programs_data() {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("program"); // null for none
        const auto row = [](const char* name, const QByteArray& content, const QString& program = {}) {
            QTest::newRow(name) << content << program;
        };
        row("name and link", "[Desktop Entry]\nName=X\nExec=teskal %u\n", QStringLiteral("teskal"));
        row("quoted path", "[Desktop Entry]\nExec=\"/opt/My Apps/teskal\" %u\n",
            QStringLiteral("/opt/My Apps/teskal"));
        row("escaped in the quotes", "[Desktop Entry]\nExec=\"/opt/a\\\\\"b\"\n",
            QStringLiteral("/opt/a\"b"));
        row("spaces around", "[Desktop Entry]\n Exec = teskal\n", QStringLiteral("teskal"));
        row("of an action", "[Desktop Entry]\nName=X\n[Desktop Action new]\nExec=teskal --new-chat\n");
        row("behind an action", "[Desktop Action new]\nExec=other\n[Desktop Entry]\nExec=teskal\n",
            QStringLiteral("teskal"));
        row("similar keys", "[Desktop Entry]\nTryExec=other\nExecutable=other\n");
        row("no value", "[Desktop Entry]\nExec=\n");
        row("nothing", "");
        row("noise", QByteArray("\0\xff[[[\n=\n", 8));
    }
    void programs() {
        QFETCH(QByteArray, content);
        QFETCH(QString, program);
        const auto entry = DesktopEntry::parse(content);
        QCOMPARE(entry ? entry->program() : QString(), program);
    }
};

QTEST_GUILESS_MAIN(TestDesktopEntry)
#include "TestDesktopEntry.moc"
