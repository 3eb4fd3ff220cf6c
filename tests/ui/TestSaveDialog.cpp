#include "Pending.h"
#include "SaveDialog.h"

#include <QApplication>
#include <QFileDialog>
#include <QPointer>
#include <QTemporaryDir>
#include <QTest>

using namespace teskal;
using namespace teskal::test;

namespace {

QCoro::Task<std::optional<QString>> outcome(Completion<std::optional<QString>> choice, std::stop_token stop) {
    const std::optional<QString> path = co_await choice.wait(stop);
    co_return path;
}

auto ask(QWidget* window) {
    return start([window](std::stop_token stop) {
        return outcome(askWhereToSave(window, QStringLiteral("Teskal image.png"), stop), stop);
    });
}

} // namespace

/// The dialog never holds up the program, and each way out of it is told.
class TestSaveDialog final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void acceptedAndRejected_data();
    void acceptedAndRejected();
    void windowGoes();
    void askerGoes();
};

void TestSaveDialog::acceptedAndRejected_data() {
    QTest::addColumn<bool>("accepted");
    QTest::newRow("saved") << true;
    QTest::newRow("cancelled") << false;
}

void TestSaveDialog::acceptedAndRejected() {
    QFETCH(const bool, accepted);
    const QTemporaryDir folder;
    QWidget window;
    window.show();
    auto pending = ask(&window);
    const QPointer<QFileDialog> dialog = window.findChild<QFileDialog*>(QStringLiteral("saveDialog"));
    QVERIFY(dialog && dialog->isVisible() && dialog->isModal());
    QCOMPARE(QFileInfo(dialog->selectedFiles().value(0)).fileName(), QStringLiteral("Teskal image.png"));
    const QString path = folder.filePath(QStringLiteral("other.png"));
    dialog->selectFile(path);
    QTest::keyClick(dialog, accepted ? Qt::Key_Return : Qt::Key_Escape);
    QCOMPARE(pending.result(), accepted ? std::optional(path) : std::nullopt);
    QVERIFY(waitUntil([&] { return !dialog; }));
}

void TestSaveDialog::windowGoes() {
    auto window = std::make_unique<QWidget>();
    auto pending = ask(window.get());
    window.reset();
    QVERIFY(pending.error<Cancelled>());
}

void TestSaveDialog::askerGoes() {
    QWidget window;
    window.show();
    auto pending = ask(&window);
    const QPointer<QFileDialog> dialog = window.findChild<QFileDialog*>(QStringLiteral("saveDialog"));
    pending.stop();
    QVERIFY(pending.error<Cancelled>());
    QVERIFY(waitUntil([&] { return !dialog; }));
}

int main(int argc, char** argv) {
    // The desktop's own dialog could not be driven from here.
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication application(argc, argv);
    TestSaveDialog test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestSaveDialog.moc"
