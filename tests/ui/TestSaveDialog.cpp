#include "Columns.h"
#include "Pending.h"
#include "SaveDialog.h"

#include <QFileDialog>

using namespace teskal::test;

namespace {

QCoro::Task<std::optional<QString>> outcome(Completion<std::optional<QString>> choice, std::stop_token stop) {
    const std::optional<QString> path = co_await choice.wait(stop);
    co_return path;
}

auto ask(QWidget* window) {
    return start([window](std::stop_token stop) {
        return outcome(askWhereToSave(window, u"Teskal image.png"_qs, stop), stop);
    });
}

} // namespace

/// The dialog never holds up the program, and each way out of it is told.
class TestSaveDialog final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void acceptedAndRejected_data() { rows<bool>("accepted", {{"saved", true}, {"cancelled", false}}); }

    void acceptedAndRejected() {
        QFETCH(const bool, accepted);
        const QTemporaryDir folder;
        QWidget window;
        window.show();
        auto pending = ask(&window);
        const QPointer<QFileDialog> dialog = window.findChild<QFileDialog*>(u"saveDialog"_qs);
        QVERIFY(dialog && dialog->isVisible() && dialog->isModal());
        QCOMPARE(QFileInfo(dialog->selectedFiles().value(0)).fileName(), u"Teskal image.png"_qs);
        const QString path = folder.filePath(u"other.png"_qs);
        dialog->selectFile(path);
        QTest::keyClick(dialog, accepted ? Qt::Key_Return : Qt::Key_Escape);
        QCOMPARE(pending.result(), accepted ? std::optional(path) : std::nullopt);
        QVERIFY(waitUntil([&] { return !dialog; }));
    }

    void windowGoes() {
        auto window = std::make_unique<QWidget>();
        auto pending = ask(window.get());
        window.reset();
        QVERIFY(pending.error<Cancelled>());
    }

    void askerGoes() {
        QWidget window;
        window.show();
        auto pending = ask(&window);
        const QPointer<QFileDialog> dialog = window.findChild<QFileDialog*>(u"saveDialog"_qs);
        pending.stop();
        QVERIFY(pending.error<Cancelled>());
        QVERIFY(waitUntil([&] { return !dialog; }));
    }
};

int main(int argc, char** argv) {
    // The desktop's own dialog could not be driven from here.
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication application(argc, argv);
    TestSaveDialog test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestSaveDialog.moc"
