#include "ComposerTest.h"
#include "TestFiles.h"
#include "composer/AttachPanel.h"
#include "composer/AttachmentChip.h"
#include "composer/AttachmentRow.h"

#include <QAccessible>
#include <QFileDialog>
#include <QLineEdit>
#include <QScrollBar>

#include <algorithm>

using namespace teskal::test;

namespace {

ComposerFile pdf(quint64 number, const QString& name) {
    return {number, name, u"application/pdf"_qs, false, {}};
}

ComposerFile photo(quint64 number, const QColor& colour) {
    QPixmap picture(40, 20);
    picture.fill(colour);
    return {number, u"photo.jpg"_qs, u"image/jpeg"_qs, false, picture};
}

ComposerFile preparing(quint64 number) {
    return {number, u"scan.tiff"_qs, {}, true, {}};
}

} // namespace

class TestComposerFiles final : public test::ComposerTest {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        ComposerTest::init();
        composer_->resize(500, 200);
        // As the model would.
        connect(composer_.get(), &ComposerView::removeFileRequested, this, [this](quint64 number) {
            files_.removeIf([number](const ComposerFile& file) { return file.number == number; });
            composer_->setFiles(files_);
        });
    }

    void filesMakeAMessage() {
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

    void chipsByKeyboard() {
        show({pdf(1, u"a.pdf"_qs), photo(2, Qt::red), pdf(3, u"c.pdf"_qs)});
        const auto focused = [] {
            const auto* chip = qobject_cast<const AttachmentChip*>(QApplication::focusWidget());
            return chip ? int(chip->number()) : 0;
        };
        struct Step {
            Qt::Key key;
            int leadsTo; ///< a chip, or 0 for the text
        };
        for (const Step step : {Step{Qt::Key_Backtab, 1},
                                {Qt::Key_Left, 1},
                                {Qt::Key_Right, 2},
                                {Qt::Key_Tab, 0}, // one stop for all
                                {Qt::Key_Backtab, 2},
                                {Qt::Key_Delete, 3},
                                {Qt::Key_Backspace, 1},
                                {Qt::Key_Delete, 0}}) {
            press(step.key, step.key == Qt::Key_Backtab ? Qt::ShiftModifier : Qt::NoModifier);
            QCOMPARE(focused(), step.leadsTo);
            QCOMPARE(text_->hasFocus(), step.leadsTo == 0);
        }
        QVERIFY(files_.isEmpty());
    }

    void removingByPointerLeavesTheFocus() {
        show({pdf(1, u"a.pdf"_qs), pdf(2, u"b.pdf"_qs)});
        auto* remove = chips().first()->findChild<QAbstractButton*>(u"removeChipButton"_qs);
        QCOMPARE(remove->toolTip(), u"Remove"_qs);
        QTest::mouseClick(remove, Qt::LeftButton);
        QCOMPARE(chips().size(), 1);
        QCOMPARE(chips().first()->number(), quint64(2));
        QVERIFY(text_->hasFocus());
    }

    void chipsShowWhatTheFilesAre() {
        const ComposerFile broken{3, u"b.png"_qs, u"image/png"_qs, false, {}};
        show({preparing(1), pdf(2, u"a.pdf"_qs), broken});
        const QPointer<AttachmentChip> first = chips().first();
        const auto accessible = [](QWidget* widget) { return QAccessible::queryAccessibleInterface(widget); };
        QCOMPARE(accessible(first)->role(), QAccessible::ListItem);
        QCOMPARE(accessible(first)->text(QAccessible::Name), u"scan.tiff, preparing"_qs);
        QCOMPARE(accessible(composer_->findChild<AttachmentRow*>())->role(), QAccessible::List);
        const QSize named = first->size();

        show({photo(1, QColor(200, 30, 30)), pdf(2, u"a.pdf"_qs), broken});
        QVERIFY2(first && first == chips().first(), "the chip of a file stays while the file changes");
        QCOMPARE(first->accessibleName(), u"photo.jpg"_qs);
        QVERIFY2(first->width() < named.width() && first->height() == named.height(),
                 "a picture needs no words");
        QCOMPARE(first->grab().toImage().pixelColor(first->rect().center()), QColor(200, 30, 30));
        const QImage document = chips().at(1)->grab().toImage();
        const QImage generic = chips().at(2)->grab().toImage();
        QVERIFY2(document.copy(0, 0, 44, 58) != generic.copy(0, 0, 44, 58), "each kind has its symbol");
    }

    void theRowScrolls() {
        QList<ComposerFile> files;
        for (quint64 number = 1; number <= 6; ++number)
            files.append(pdf(number, u"A rather long name of a file %1.pdf"_qs.arg(number)));
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

    void tabOrderFollowsTheEye() {
        composer_->setText(u"words"_qs);
        show({pdf(1, u"a.pdf"_qs)});
        show({pdf(1, u"a.pdf"_qs), pdf(2, u"b.pdf"_qs)});
        QStringList order;
        for (int stop = 0; stop < 5; ++stop) {
            press(Qt::Key_Tab);
            order.append(QApplication::focusWidget()->accessibleName());
        }
        QCOMPARE(order, (QStringList{u"Attach images or PDFs"_qs, u"Dictate"_qs, u"Send"_qs, u"a.pdf"_qs,
                                     u"Message"_qs}));
    }

    void theOpenPanelTakesSeveralFiles() {
        QTemporaryDir folder;
        for (const QString& name : {u"a.png"_qs, u"b.pdf"_qs})
            writeFile(folder.filePath(name), {});
        AttachPanel panel(*composer_, {u"*.png"_qs, u"*.pdf"_qs});
        QSignalSpy chosen(&panel, &AttachPanel::chosen);
        panel.open();
        panel.open();
        const auto dialogs = composer_->findChildren<QFileDialog*>(u"attachPanel"_qs);
        QCOMPARE(dialogs.size(), 1);
        QFileDialog* dialog = dialogs.first();
        QCOMPARE(dialog->windowTitle(), u"Attach images or PDFs (up to 8 MB each)"_qs);
        dialog->setDirectory(folder.path());
        dialog->findChild<QLineEdit*>(u"fileNameEdit"_qs)->setText(u"\"a.png\" \"b.pdf\""_qs);
        static_cast<QDialog*>(dialog)->accept();
        QCOMPARE(chosen.count(), 1);
        const auto files = chosen.first().first().value<QList<QUrl>>();
        QCOMPARE(files, (QList<QUrl>{QUrl::fromLocalFile(folder.filePath(u"a.png"_qs)),
                                     QUrl::fromLocalFile(folder.filePath(u"b.pdf"_qs))}));
    }

private:
    void show(const QList<ComposerFile>& files) {
        files_ = files;
        composer_->setFiles(files);
    }

    [[nodiscard]] QList<AttachmentChip*> chips() const {
        QList<AttachmentChip*> found = composer_->findChildren<AttachmentChip*>();
        found.removeIf([](const AttachmentChip* chip) { return chip->isHidden(); });
        std::sort(found.begin(), found.end(),
                  [](const AttachmentChip* a, const AttachmentChip* b) { return a->x() < b->x(); });
        return found;
    }

    QList<ComposerFile> files_;
};

QTEST_MAIN(TestComposerFiles)
#include "TestComposerFiles.moc"
