#include "AccountFileName.h"
#include "AppJourney.h"
#include "TestFiles.h"
#include "sheets/CreditsSheet.h"

#include <QAbstractButton>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QImage>
#include <QLabel>
#include <QMimeData>
#include <QTemporaryDir>

using namespace teskal;
using namespace teskal::test;

/// A person's first conversation: real widgets with synthesised keys, the real engine, real HTTP.
class TestConversationJourney final : public AppJourney {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        launch();
        QVERIFY(comesTo(MainWindow::Page::SignIn));
    }

    void cleanupTestCase() { app_.reset(); }

    void signInThroughTheSheet() {
        QWidget* button = window().findChild<QWidget*>(u"signInButton"_qs);
        QVERIFY(button);
        QTest::mouseClick(button, Qt::LeftButton);
        QVERIFY(comesTo(MainWindow::Page::Chats));
        QVERIFY(pageIsReady());
        QVERIFY(comesTrue([this] { return !signInSheet(); }));
        QCOMPARE(window().focusWidget(), &composer());
        // Where no window manager runs, nobody makes the window active again when its dialog is gone.
        window().activateWindow();
        QVERIFY(waitUntil([this] { return window().isActiveWindow(); }));
    }

    void anAnswerArrivesInTheWindow() {
        ask(u"Show me a table"_qs);
        QVERIFY(waitForEnd());
        QVERIFY(!answer()->error);
        QVERIFY(pageSays(u"Show me a table"_qs));
        QVERIFY(pageHolds(u"document.querySelectorAll('article table').length > 0"_qs));
        // Which model answered stands under the answer.
        QVERIFY(pageSays(*answer()->route->member(u"name"_qs).string()));
    }

    void whatIsDroppedWaitsInTheComposer() {
        QTemporaryDir folder;
        const QString path = folder.filePath(u"a.png"_qs);
        writeFile(path, "Content");
        QMimeData files;
        files.setUrls({QUrl::fromLocalFile(path)});
        QMimeData image;
        image.setImageData(QImage(2, 2, QImage::Format_RGB32));
        for (QMimeData* dropped : {&files, &image}) {
            view().setFocus();
            QVERIFY(!composer().hasFocus());
            QDragEnterEvent enter({5, 5}, Qt::CopyAction, dropped, Qt::LeftButton, {});
            QCoreApplication::sendEvent(&window().detail(), &enter);
            QDropEvent drop({5, 5}, Qt::CopyAction, dropped, Qt::LeftButton, {});
            QCoreApplication::sendEvent(&window().detail(), &drop);
            QVERIFY(composer().hasFocus());
        }
        QVERIFY(waitUntil([this] { return !model().draftFiles().last().preparing; }));
        QCOMPARE(model().draftFiles().first().name, u"a.png"_qs);
        QCOMPARE(model().draftFiles().last().name, u"Dropped image.png"_qs);
        while (!model().draftFiles().isEmpty())
            model().removeDraftFile(model().draftFiles().first().number);
    }

    void controlPeriodStops() {
        control_.hold(chatPath, 400);
        ask(u"long"_qs);
        QVERIFY(comesTrue([this] { return answer()->pending && !answer()->content.isEmpty(); }));
        QVERIFY(
            comesTrue([this] { return pageHolds(u"document.querySelectorAll('article').length === 4"_qs); }));
        press(Qt::Key_Period, Qt::ControlModifier);
        QVERIFY(waitForEnd());
        QVERIFY(!answer()->error); // what had come stays as the answer
        QVERIFY(!answer()->content.isEmpty());
        QVERIFY(control_.wait(chatPath, u"finished"_qs, 2));
        control_.releaseAll();
    }

    void anErrorOffersToAskAgain() {
        control_.next({{u"path"_qs, chatPath},
                       {u"status"_qs, 500},
                       {u"json"_qs, QJsonObject{{u"error"_qs, u"Too busy."_qs}}}});
        ask(u"math"_qs);
        QVERIFY(waitForEnd());
        QVERIFY(answer()->error);
        QVERIFY(pageSays(u"Too busy."_qs));
        QCOMPARE(script(u"document.querySelector('.error-card button').ariaLabel"_qs).toString(),
                 u"Ask again"_qs);
        script(u"document.querySelector('.error-card button').click()"_qs);
        QVERIFY(comesTrue([this] { return answer()->pending || !answer()->error; }));
        QVERIFY(waitForEnd());
        QVERIFY(!answer()->error);
        QVERIFY(comesTrue([this] { return !pageText().contains(u"Too busy."_qs); }));
    }

    void missingCreditsLeadToTheCheckout() {
        control_.next({{u"path"_qs, chatPath},
                       {u"status"_qs, 402},
                       {u"json"_qs, QJsonObject{{u"error"_qs, u"You’re out of credits."_qs},
                                                {u"code"_qs, u"INSUFFICIENT_CREDITS"_qs}}}});
        ask(u"math"_qs);
        QVERIFY(waitForEnd());
        QVERIFY(pageSays(u"You’re out of credits."_qs));
        view().setFocus();
        QWidget* const focus = window().focusWidget();
        script(u"document.querySelector('.error-card button').click()"_qs);
        CreditsSheet& sheet = window().credits();
        QVERIFY(comesTrue([&] { return sheet.isVisible() && sheet.hasFocus(); }));
        const auto* balance = sheet.findChild<QLabel*>(u"creditsBalance"_qs);
        QVERIFY(comesTrue([&] { return balance->isVisible() && !balance->text().isEmpty(); }));

        const auto* status = sheet.findChild<QLabel*>(u"creditsStatus"_qs);
        const auto checkOut = [&] {
            press(Qt::Key_Return);
            QCOMPARE(status->text(), u"Opening checkout…"_qs);
        };
        QVERIFY(actAndWait(checkOut, [this] { return !browsed_.isEmpty(); }));
        QCOMPARE(browsed_.path(), u"/checkout"_qs);
        QCOMPARE(status->text(), u"Checkout opens in your browser."_qs);
        press(Qt::Key_Escape);
        QVERIFY(sheet.isHidden() && !model().sheet());
        QCOMPARE(window().focusWidget(), focus);
    }

    void markupInAnAnswerStaysText() {
        const QByteArray hostile =
            "before <img src=x onerror=\"window.reached = 1\"> "
            "[link](javascript:window.reached=2) ![far](https://example.org/a.png)\n\n"
            "<script>window.reached = 3</script>\n\n<iframe src=\"https://example.org\"></iframe>";
        control_.next(
            QJsonObject{{u"path"_qs, chatPath}, {u"rawStream"_qs, QString::fromLatin1(hostile.toBase64())}});
        ask(u"anything"_qs);
        QVERIFY(waitForEnd());
        QVERIFY(pageSays(u"<script>window.reached = 3</script>"_qs));
        QVERIFY(!script(u"window.reached"_qs).isValid());
        QVERIFY(pageHolds(u"document.querySelectorAll('article img, article iframe, article script, "
                          "article a[href^=javascript]').length === 0"_qs));
    }

    void theThemeReachesThePage() {
        const QString theme = u"document.documentElement.dataset.theme"_qs;
        for (const auto& [appearance, name] :
             {std::pair{Appearance::Dark, u"dark"_qs}, std::pair{Appearance::Light, u"light"_qs}}) {
            app_->theme().setAppearance(appearance);
            QVERIFY2(comesTrue([&] { return script(theme).toString() == name; }), qPrintable(name));
        }
    }

    void findingWhatWasAsked() {
        composer().setFocus();
        press(Qt::Key_F, Qt::ControlModifier);
        QWidget* const bar = window().findChild<QWidget*>(u"findBar"_qs);
        const auto* count = bar->findChild<QLabel*>(u"findCount"_qs);
        QVERIFY(bar->isVisible());
        type(u"show me a TABLE"_qs);
        QVERIFY(comesTrue([&] { return count->text() == u"1 of 1"; }));
        type(u"!"_qs);
        QVERIFY(comesTrue([&] { return count->text() == u"No results"; }));
        press(Qt::Key_Escape);
        QVERIFY(!bar->isVisible());
        QCOMPARE(window().focusWidget(), &composer());
    }

    void theConversationSurvivesThePagesProcess() {
        killPage();
        QVERIFY(pageIsReady());
        QVERIFY(pageSays(u"Show me a table"_qs));
    }

    void aPageThatKeepsFailingIsReloadedByHand() {
        auto* reload = window().findChild<QAbstractButton*>(u"reloadButton"_qs);
        const auto settled = [&] { return reload->isVisible() || model().transcript().isReady(); };
        for (int time = 0; time < 3 && !reload->isVisible(); ++time) {
            killPage();
            QVERIFY(comesTrue(settled));
        }
        QVERIFY(reload->isVisible());
        QVERIFY(!model().transcript().isReady());
        QTest::mouseClick(reload, Qt::LeftButton);
        QVERIFY(pageIsReady());
        QVERIFY(!reload->isVisible());
        QVERIFY(pageSays(u"Show me a table"_qs));
    }

    void quittingWritesTheConversation() {
        ask(u"And this is the last question before the end"_qs);
        QVERIFY(waitForEnd());
        const QString owner = *model().store().owner();
        app_->quit();
        const QList<Chat> chats = decodeChats(contentOf(AppFolders::forUser(config().storageSuffix).chats +
                                                        u'/' + accountFileName(owner) + u".json"_qs));
        QCOMPARE(chats.size(), 1);
        QCOMPARE(chats.first(), *model().selectedChat());
    }

    void theNextStartGoesOnWithWhatTheEndInterrupted() {
        app_.reset(); // it has quit
        launch();
        QVERIFY(comesTo(MainWindow::Page::Chats));
        model().newChat();
        control_.hold(u"/api/video"_qs); // it is not done before the end
        ask(u"Make a video"_qs);
        QVERIFY(waitForEnd());
        const QString filmed = *model().selection();
        model().newChat();
        control_.hold(chatPath);
        ask(u"This one comes too late"_qs);
        QVERIFY(control_.wait(chatPath, u"held"_qs));
        const QString late = *model().selection();
        QCOMPARE(model().store().chat(filmed)->messages.last().media->status.value(), u"pending"_qs);
        app_->quit();
        app_.reset();
        control_.releaseAll();

        launch();
        QVERIFY(comesTo(MainWindow::Page::Chats));
        model().select(late);
        QVERIFY(pageSays(u"Stopped when Teskal quit."_qs));
        model().select(filmed);
        QVERIFY(comesTrue([this] { return answer()->media->status == u"done"_qs; }));
        QVERIFY(
            comesTrue([this] { return pageHolds(u"document.querySelectorAll('video').length === 1"_qs); }));
    }

    void signingOutLeavesNothingOnTheScreen() {
        model().setSheet(Sheet::Credits);
        QVERIFY(!window().credits().isHidden());
        model().signOut();
        QVERIFY(window().credits().isHidden());
        QCOMPARE(window().page(), MainWindow::Page::SignIn);
        QVERIFY(comesTrue([this] { return !pageText().contains(u"Show me a table"_qs); }));
        QCOMPARE(model().store().count(), 0);
    }

private:
    QString pageText() { return script(u"document.body.textContent"_qs).toString(); }
    bool pageSays(const QString& text) {
        return comesTrue([&] { return pageText().contains(text); });
    }
    bool waitForEnd() {
        return comesTrue([this] { return answer() && !answer()->pending && !model().isBusy(); });
    }
    const ChatMessage* answer() {
        const Chat* chat = model().selectedChat();
        return chat && !chat->messages.isEmpty() ? &chat->messages.last() : nullptr;
    }
};

int main(int argc, char* argv[]) {
    return runJourney<TestConversationJourney>(argc, argv);
}

#include "TestConversationJourney.moc"
