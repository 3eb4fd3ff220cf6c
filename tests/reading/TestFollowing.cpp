#include "EnginePage.h"

#include <QApplication>
#include <QTest>

using namespace teskal;
using namespace teskal::test;

/// The end of the conversation stays in view while the reader is there, and only then.
class TestFollowing : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void opens() {
        EnginePage page;
        QVERIFY(page.open());
        page.port().call("setChat",
                         {R"({"id":"c","messages":[{"id":"m","role":"user","content":"Hello"}]})"});
        QVERIFY(page.waitFor(QStringLiteral("document.body.textContent.includes('Hello')")));
    }
};

int main(int argc, char* argv[]) {
    prepareEngine();
    QApplication application(argc, argv);
    TestFollowing test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestFollowing.moc"
