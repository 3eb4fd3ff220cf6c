#include "Columns.h"
#include "chat/DetailView.h"
#include "chat/FindBar.h"
#include "composer/ComposerTextView.h"
#include "composer/ComposerView.h"
#include "theme/Theme.h"

#include <QAbstractButton>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QLabel>
#include <QMimeData>

#include <memory>

using namespace teskal::test;

class TestDetailView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        view_ = std::make_unique<DetailView>(theme_);
        transcript_ = new QWidget;
        view_->setTranscript(transcript_);
        view_->resize(832, 730);
        view_->show();
        view_->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(view_.get()));
    }

    void composerTravelsWithFocusAndUndo() {
        ComposerView& composer = view_->composer();
        composer.focusText();
        QTest::keyClicks(&composer.textView(), u"hello"_qs);
        QVERIFY(!transcript_->isVisible());
        const int middle = composer.geometry().top();

        composer.setText({});
        view_->setEmpty(false);
        QVERIFY(transcript_->isVisible());
        QTRY_VERIFY(composer.geometry().bottom() > view_->height() - 50);
        QVERIFY(composer.geometry().top() > middle && composer.textView().hasFocus());
        composer.textView().undo();
        QCOMPARE(composer.text(), u"hello"_qs);

        view_->setEmpty(true);
        QVERIFY(!transcript_->isVisible());
        QTRY_COMPARE(composer.geometry().top(), middle);
    }

    void nothingOverlaps_data() {
        columns<QSize, bool, int>("size", "empty", "lines");
        for (const bool empty : {true, false}) {
            for (const int lines : {0, 60}) {
                const char* kind = empty ? "empty" : "chat";
                for (const QSize size : {QSize(832, 730), QSize(372, 450), QSize(2200, 1300)})
                    QTest::addRow("%s, %d lines, %d wide", kind, lines, size.width())
                        << size << empty << lines;
            }
        }
    }

    void nothingOverlaps() {
        FETCH(QSize, size, bool, empty, int, lines);
        view_->setEmpty(empty);
        view_->composer().setText(u"line\n"_qs.repeated(lines));
        view_->resize(size);
        const QRect& card = view_->composer().geometry();
        QTRY_VERIFY2(empty || card.bottom() == view_->height() - 36, "it comes to rest above the note");
        QVERIFY2(card.left() >= 24 && card.right() <= view_->width() - 24, "air on either side");
        QVERIFY2(card.width() <= 700, "the column has a widest width");
        QVERIFY(std::abs(card.left() - (view_->width() - 1 - card.right())) <= 1);
        QCOMPARE(card.height(), view_->composer().cardHeight());
        QVERIFY(view_->rect().contains(card));
        if (!empty)
            QVERIFY(!transcript_->geometry().intersects(card));
        const auto* greeting = view_->findChild<QWidget*>(u"emptyChat"_qs);
        QVERIFY(!greeting->isVisible() || (!greeting->geometry().intersects(card) && greeting->y() >= 48));
        QCOMPARE(greeting->isVisible(), empty && (lines == 0 || size.height() > 450));
    }

    void stopShowsWhileBusy() {
        auto* stop = view_->findChild<QAbstractButton*>(u"stopButton"_qs);
        QVERIFY(!stop->isVisible());
        view_->setBusy(true);
        QVERIFY(stop->isVisible());
        QCOMPARE(stop->toolTip(), u"Stop the answer (Ctrl+.)"_qs);
        QSignalSpy stopped(view_.get(), &DetailView::stopRequested);
        QTest::mouseClick(stop, Qt::LeftButton);
        QCOMPARE(stopped.count(), 1);
        view_->setBusy(false);
        QVERIFY(!stop->isVisible());
    }

    void aPrivateChatSaysSo() {
        const QString promise = u"Private chat. It isn’t saved, and disappears when you leave it."_qs;
        auto* badge = view_->findChild<QLabel*>(u"privateBadge"_qs);
        auto* greeting = view_->findChild<QLabel*>(u"greeting"_qs);
        auto* title = view_->findChild<QLabel*>(u"chatTitle"_qs);
        auto* button = view_->findChild<QAbstractButton*>(u"newPrivateChatButton"_qs);
        QCOMPARE(button->accessibleName(), u"New Private Chat"_qs);
        QCOMPARE(button->toolTip(), u"New private chat, not saved (Ctrl+Shift+N)"_qs);
        QSignalSpy wanted(view_.get(), &DetailView::newPrivateChatRequested);
        QTest::mouseClick(button, Qt::LeftButton);
        QCOMPARE(wanted.count(), 1);

        view_->setTitle(u"Private chat"_qs);
        view_->setPrivate(true);
        QVERIFY(badge->isVisible());
        QCOMPARE(badge->text(), u"Private chat"_qs);
        QCOMPARE(badge->toolTip(), promise);
        QCOMPARE(badge->accessibleDescription(), promise);
        QCOMPARE(greeting->text(), promise);
        QVERIFY2(title->text().isEmpty(), "the badge says it");
        view_->resize(360, 450);
        QTRY_VERIFY2(greeting->heightForWidth(greeting->width()) <= greeting->height(), "all of it is seen");
        view_->setPrivate(false);
        QVERIFY(!badge->isVisible());
        QCOMPARE(greeting->text(), u"Ready when you are."_qs);
        QCOMPARE(title->text(), u"Private chat"_qs);
    }

    void titleIsOneLine() {
        const auto* label = view_->findChild<QLabel*>(u"chatTitle"_qs);
        view_->setTitle(u"First line\nsecond"_qs);
        QCOMPARE(label->text(), u"First line"_qs);
        const QString title = u"A very long title "_qs.repeated(20).trimmed();
        view_->setTitle(title);
        QVERIFY(label->text().endsWith(QChar(0x2026)));
        QVERIFY(label->fontMetrics().horizontalAdvance(label->text()) <= label->width());
        QCOMPARE(label->accessibleName(), title);
        view_->resize(372, 450);
        QVERIFY(label->fontMetrics().horizontalAdvance(label->text()) <= label->width());
    }

    void aLostTranscriptOffersToReload() {
        const auto* lost = view_->findChild<QWidget*>(u"transcriptLost"_qs);
        auto* reload = view_->findChild<QAbstractButton*>(u"reloadButton"_qs);
        QSignalSpy wanted(view_.get(), &DetailView::reloadRequested);
        transcript_->setFocusPolicy(Qt::StrongFocus);
        view_->setEmpty(false);
        transcript_->setFocus();
        view_->setTranscriptLost(true);
        QVERIFY(lost->isVisible());
        QVERIFY2(!transcript_->isVisible(), "Tab leads to what can be seen");
        view_->findBar().open();
        QVERIFY2(!view_->findBar().isVisible(), "there is nothing to look through");
        QCOMPARE(lost->geometry(), transcript_->geometry());
        QVERIFY2(reload->hasFocus(), "the focus is not left on what can not be seen");
        view_->setEmpty(true);
        QVERIFY2(!lost->isVisible(), "there is nothing to show");
        view_->setEmpty(false);
        QTest::mouseClick(reload, Qt::LeftButton);
        QCOMPARE(wanted.count(), 1);
        view_->setTranscriptLost(false);
        QVERIFY(!lost->isVisible() && transcript_->isVisible());
    }

    /// From the text back over the files to the transcript, whose keys are taken by what comes with its page.
    void tabFollowsTheEye() {
        view_->setEmpty(false);
        const auto file = [](quint64 number) {
            return ComposerFile{number, u"a.pdf"_qs, u"application/pdf"_qs, false, {}};
        };
        ComposerView& composer = view_->composer();
        composer.setFiles({file(1)}); // while there is no page yet
        auto* keys = new QWidget(transcript_);
        keys->setFocusPolicy(Qt::StrongFocus);
        keys->setObjectName(u"keys"_qs);
        keys->show();
        transcript_->setFocusProxy(keys);
        QCoreApplication::processEvents();
        composer.setFiles({file(1), file(2)});
        composer.focusText();
        QStringList stops;
        for (int stop = 0; stop < 3; ++stop) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab, Qt::ShiftModifier);
            const QWidget* focus = QApplication::focusWidget();
            stops.append(focus->objectName().isEmpty() ? focus->accessibleName() : focus->objectName());
        }
        QCOMPARE(stops, (QStringList{u"a.pdf"_qs, u"keys"_qs, u"newChatButton"_qs}));
    }

    void drops_data() {
        columns<QString, QString>("over", "kind");
        for (const char* kind : {"files", "image", "link", "text"})
            for (const char* over : {"detail", "transcript", "text"})
                QTest::addRow("%s over the %s", kind, over)
                    << QString::fromLatin1(over) << QString::fromLatin1(kind);
    }

    void drops() {
        FETCH(QString, over, QString, kind);
        view_->setEmpty(false);
        QMimeData data;
        const QUrl file(u"file:///tmp/a.png"_qs);
        if (kind == u"files")
            data.setUrls({file});
        else if (kind == u"image")
            data.setImageData(QImage(3, 2, QImage::Format_RGB32));
        else if (kind == u"link")
            data.setUrls({QUrl(u"https://example.org/"_qs)});
        else
            data.setText(u"words"_qs);
        QList<QUrl> files;
        int images = 0;
        connect(view_.get(), &DetailView::filesDropped, this, [&](const QList<QUrl>& urls) { files = urls; });
        connect(view_.get(), &DetailView::imageDropped, this,
                [&](const QImage& image) { images += image.width() == 3 ? 1 : 0; });
        ComposerTextView& text = view_->composer().textView();
        QWidget* under = over == u"text"         ? text.viewport()
                         : over == u"transcript" ? transcript_
                                                 : static_cast<QWidget*>(view_.get());
        auto* target = view_->findChild<QWidget*>(u"dropTarget"_qs);
        const bool taken = kind == u"files" || kind == u"image";
        const auto enter = [&] {
            QDragEnterEvent event(QPoint(5, 5), Qt::CopyAction, &data, Qt::LeftButton, {});
            QCoreApplication::sendEvent(under, &event);
        };
        enter();
        QCOMPARE(target->isVisible(), taken);
        QVERIFY(!taken || target->geometry() == view_->rect());
        QDragLeaveEvent leave;
        QCoreApplication::sendEvent(under, &leave);
        QVERIFY(!target->isVisible());
        enter();
        QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &data, Qt::LeftButton, {});
        QCoreApplication::sendEvent(under, &drop);
        QVERIFY(!target->isVisible());
        QCOMPARE(files, kind == u"files" ? QList<QUrl>{file} : QList<QUrl>());
        QCOMPARE(images, kind == u"image" ? 1 : 0);
        QVERIFY2(view_->composer().text().isEmpty() == (taken || over != u"text"),
                 "words may be dropped into the text");
    }

private:
    Theme theme_;
    std::unique_ptr<DetailView> view_;
    QWidget* transcript_ = nullptr;
};

QTEST_MAIN(TestDetailView)
#include "TestDetailView.moc"
