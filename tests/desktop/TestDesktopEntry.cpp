#include "Columns.h"
#include "DesktopEntry.h"

using namespace teskal::test;

class TestDesktopEntry final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void programs_data() {
        // program: null for none
        const auto row = columns<QByteArray, QString>("content", "program");
        row("name and link", "[Desktop Entry]\nName=X\nExec=teskal %u\n", u"teskal"_qs);
        row("quoted path", "[Desktop Entry]\nExec=\"/opt/My Apps/teskal\" %u\n", u"/opt/My Apps/teskal"_qs);
        row("escaped in the quotes", "[Desktop Entry]\nExec=\"/opt/a\\\\\"b\"\n", u"/opt/a\"b"_qs);
        row("spaces around", "[Desktop Entry]\n Exec = teskal\n", u"teskal"_qs);
        row("of an action", "[Desktop Entry]\nName=X\n[Desktop Action new]\nExec=teskal --new-chat\n");
        row("behind an action", "[Desktop Action new]\nExec=other\n[Desktop Entry]\nExec=teskal\n",
            u"teskal"_qs);
        row("similar keys", "[Desktop Entry]\nTryExec=other\nExecutable=other\n");
        row("no value", "[Desktop Entry]\nExec=\n");
        row("nothing", "");
        row("noise", QByteArray("\0\xff[[[\n=\n", 8));
    }
    void programs() {
        FETCH(QByteArray, content, QString, program);
        const auto entry = DesktopEntry::parse(content);
        QCOMPARE(entry ? entry->program() : QString(), program);
    }
};

QTEST_GUILESS_MAIN(TestDesktopEntry)
#include "TestDesktopEntry.moc"
