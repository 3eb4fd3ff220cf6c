#include "ComposerTest.h"
#include "composer/AttachPanel.h"
#include "composer/AttachmentChip.h"
#include "composer/AttachmentRow.h"

#include <QAccessible>
#include <QFileDialog>
#include <QLineEdit>
#include <QPointer>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <algorithm>

using namespace teskal;

namespace {

ComposerFile pdf(quint64 number, const QString& name) {
    return {number, name, QStringLiteral("application/pdf"), false, {}};
}

ComposerFile photo(quint64 number, const QColor& colour) {
    QPixmap picture(40, 20);
    picture.fill(colour);
    return {number, QStringLiteral("photo.jpg"), QStringLiteral("image/jpeg"), false, picture};
}

ComposerFile preparing(quint64 number) {
    return {number, QStringLiteral("scan.tiff"), {}, true, {}};
}

} // namespace

class TestComposerFiles final : public test::ComposerTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void filesMakeAMessage();
    void chipsByKeyboard();
    void removingByPointerLeavesTheFocus();
    void chipsShowWhatTheFilesAre();
    void theRowScrolls();
    void tabOrderFollowsTheEye();
    void theOpenPanelTakesSeveralFiles();

private:
    void show(const QList<ComposerFile>& files);
    [[nodiscard]] QList<AttachmentChip*> chips() const;

    QList<ComposerFile> files_;
};

void TestComposerFiles::init() {
    ComposerTest::init();
    composer_->resize(500, 200);
    // As the model would.
    connect(composer_.get(), &ComposerView::removeFileRequested, this, [this](quint64 number) {
        files_.removeIf([number](const ComposerFile& file) { return file.number == number; });
        composer_->setFiles(files_);
    });
}

void TestComposerFiles::show(const QList<ComposerFile>& files) {
    files_ = files;
    composer_->setFiles(files);
}

QList<AttachmentChip*> TestComposerFiles::chips() const {
    QList<AttachmentChip*> found = composer_->findChildren<AttachmentChip*>();
    found.removeIf([](const AttachmentChip* chip) { return chip->isHidden(); });
    std::sort(found.begin(), found.end(),
              [](const AttachmentChip* a, const AttachmentChip* b) { return a->x() < b->x(); });
    return found;
}

void TestComposerFiles::filesMakeAMessage() {
    QSignalSpy sent(composer_.get(), &ComposerView::sendRequested);
    QSignalSpy heights(composer_.get(), &ComposerView::cardHeightChanged);
    const int bare = composer_->cardHeight();
    show({preparing(1)});
    QVERIFY(composer_->cardHeight() > bare);
    QCOMPARE(heights.count(), 1);
    QTest::keyClick(text_, Qt::Key_Return);
    QVERIFY2(sent.isEmpty() && !button("sendButton")->isEnabled(), "it waits for its files");
    show({photo(1, Qt::red)});
    QVERIFY(button("sendButton")->isEnabled());
    QTest::keyClick(text_, Qt::Key_Return);
    QCOMPARE(sent.count(), 1);
    composer_->setBusy(true);
    QVERIFY(!button("sendButton")->isEnabled());
    show({});
    QCOMPARE(composer_->cardHeight(), bare);
    QCOMPARE(heights.count(), 2);
}

void TestComposerFiles::chipsByKeyboard() {
    show({pdf(1, QStringLiteral("a.pdf")), photo(2, Qt::red), pdf(3, QStringLiteral("c.pdf"))});
    const auto focused = [] {
        const auto* chip = qobject_cast<const AttachmentChip*>(QApplication::focusWidget());
        return chip ? int(chip->number()) : 0;
    };
    press(Qt::Key_Tab, Qt::ShiftModifier);
    QCOMPARE(focused(), 1);
    press(Qt::Key_Left);
    QCOMPARE(focused(), 1);
    press(Qt::Key_Right);
    QCOMPARE(focused(), 2);
    press(Qt::Key_Tab);
    QVERIFY2(text_->hasFocus(), "one stop for all chips");
    press(Qt::Key_Tab, Qt::ShiftModifier);
    QCOMPARE(focused(), 2);
    press(Qt::Key_Delete);
    QCOMPARE(focused(), 3);
    press(Qt::Key_Backspace);
    QCOMPARE(focused(), 1);
    press(Qt::Key_Delete);
    QVERIFY(text_->hasFocus());
    QVERIFY(files_.isEmpty());
}

void TestComposerFiles::removingByPointerLeavesTheFocus() {
    show({pdf(1, QStringLiteral("a.pdf")), pdf(2, QStringLiteral("b.pdf"))});
    auto* remove = chips().first()->findChild<QAbstractButton*>(QStringLiteral("removeChipButton"));
    QCOMPARE(remove->toolTip(), QStringLiteral("Remove"));
    QTest::mouseClick(remove, Qt::LeftButton);
    QCOMPARE(chips().size(), 1);
    QCOMPARE(chips().first()->number(), quint64(2));
    QVERIFY(text_->hasFocus());
}

void TestComposerFiles::chipsShowWhatTheFilesAre() {
    const ComposerFile broken{3, QStringLiteral("b.png"), QStringLiteral("image/png"), false, {}};
    show({preparing(1), pdf(2, QStringLiteral("a.pdf")), broken});
    const QPointer<AttachmentChip> first = chips().first();
    const auto accessible = [](QWidget* widget) { return QAccessible::queryAccessibleInterface(widget); };
    QCOMPARE(accessible(first)->role(), QAccessible::ListItem);
    QCOMPARE(accessible(first)->text(QAccessible::Name), QStringLiteral("scan.tiff, preparing"));
    QCOMPARE(accessible(composer_->findChild<AttachmentRow*>())->role(), QAccessible::List);
    const QSize named = first->size();

    show({photo(1, QColor(200, 30, 30)), pdf(2, QStringLiteral("a.pdf")), broken});
    QVERIFY2(first && first == chips().first(), "the chip of a file stays while the file changes");
    QCOMPARE(first->accessibleName(), QStringLiteral("photo.jpg"));
    QVERIFY2(first->width() < named.width() && first->height() == named.height(), "a picture needs no words");
    QCOMPARE(first->grab().toImage().pixelColor(first->rect().center()), QColor(200, 30, 30));
    const QImage document = chips().at(1)->grab().toImage();
    const QImage generic = chips().at(2)->grab().toImage();
    QVERIFY2(document.copy(0, 0, 44, 58) != generic.copy(0, 0, 44, 58), "each kind has its symbol");
}

void TestComposerFiles::theRowScrolls() {
    QList<ComposerFile> files;
    for (quint64 number = 1; number <= 6; ++number)
        files.append(pdf(number, QStringLiteral("A rather long name of a file %1.pdf").arg(number)));
    show(files);
    const auto* row = composer_->findChild<AttachmentRow*>();
    const QScrollBar* bar = row->horizontalScrollBar();
    const auto inView = [row](const QWidget* chip) {
        const int left = chip->mapTo(row, QPoint()).x();
        return left >= 0 && left + chip->width() <= row->width();
    };
    QTRY_VERIFY(bar->maximum() > 0);
    QTRY_VERIFY2(inView(chips().last()), "what was just added is seen");
    press(Qt::Key_Tab, Qt::ShiftModifier);
    QTRY_VERIFY2(inView(QApplication::focusWidget()), "and so is what has the focus");
    QCOMPARE(QApplication::focusWidget(), chips().first());
}

void TestComposerFiles::tabOrderFollowsTheEye() {
    composer_->setText(QStringLiteral("words"));
    show({pdf(1, QStringLiteral("a.pdf"))});
    show({pdf(1, QStringLiteral("a.pdf")), pdf(2, QStringLiteral("b.pdf"))});
    QStringList order;
    for (int stop = 0; stop < 5; ++stop) {
        press(Qt::Key_Tab);
        order.append(QApplication::focusWidget()->accessibleName());
    }
    QCOMPARE(order,
             (QStringList{QStringLiteral("Attach images or PDFs"), QStringLiteral("Dictate"),
                          QStringLiteral("Send"), QStringLiteral("a.pdf"), QStringLiteral("Message")}));
}

void TestComposerFiles::theOpenPanelTakesSeveralFiles() {
    QTemporaryDir folder;
    for (const char* name : {"a.png", "b.pdf"}) {
        QFile file(folder.filePath(QLatin1String(name)));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    AttachPanel panel(*composer_, {QStringLiteral("*.png"), QStringLiteral("*.pdf")});
    QSignalSpy chosen(&panel, &AttachPanel::chosen);
    panel.open();
    panel.open();
    const auto dialogs = composer_->findChildren<QFileDialog*>(QStringLiteral("attachPanel"));
    QCOMPARE(dialogs.size(), 1);
    QFileDialog* dialog = dialogs.first();
    QCOMPARE(dialog->windowTitle(), QStringLiteral("Attach images or PDFs (up to 8 MB each)"));
    dialog->setDirectory(folder.path());
    dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))
        ->setText(QStringLiteral("\"a.png\" \"b.pdf\""));
    static_cast<QDialog*>(dialog)->accept();
    QCOMPARE(chosen.count(), 1);
    const auto files = chosen.first().first().value<QList<QUrl>>();
    QCOMPARE(files, (QList<QUrl>{QUrl::fromLocalFile(folder.filePath(QStringLiteral("a.png"))),
                                 QUrl::fromLocalFile(folder.filePath(QStringLiteral("b.pdf")))}));
}

QTEST_MAIN(TestComposerFiles)
#include "TestComposerFiles.moc"
