#include "Tour.h"

#include "AccountTour.h"
#include "ComposerTour.h"
#include "StatesTour.h"
#include "TeskalApp.h"
#include "chat/DetailView.h"
#include "dialogs/NameDialog.h"
#include "sheets/CreditsSheet.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QDialog>
#include <QMenuBar>
#include <QWebEngineView>

#include <algorithm>

namespace teskal::tour {

void Tour::play() {
    signIn();
    firstAnswer();
    anotherAnswer();
    find();
    error();
    media();
    credits();
    attachment();
    folders();
    dialogs();
    privateChat();
    playAccount(app_, stage_);
    narrow();
    StatesTour(app_, stage_).play();
    ComposerTour(app_, stage_).play();
}

void Tour::signIn() {
    MainWindow& window = app_.window();
    stage_.waitFor(QStringLiteral("the sign-in screen"), [&] {
        return window.page() == MainWindow::Page::SignIn && window.isVisible() && app_.transcript();
    });
    stage_.settle();
    stage_.picture(QStringLiteral("1-signin"), window);

    stage_.press(window, Qt::Key_Return); // the button has the focus
    const auto sheet = [&window] { return window.findChild<QDialog*>(QStringLiteral("signInSheet")); };
    stage_.waitFor(QStringLiteral("the sign-in sheet"), [&] { return sheet() && sheet()->isVisible(); });
    auto* view = sheet()->findChild<QWebEngineView*>();
    bool loaded = false;
    const auto connection =
        QObject::connect(view, &QWebEngineView::loadFinished, [&loaded](bool ok) { loaded = ok; });
    stage_.waitFor(QStringLiteral("the provider's page"), [&] { return loaded; });
    QObject::disconnect(connection);
    stage_.settle();
    stage_.picture(QStringLiteral("2-signin-sheet"), window);

    stage_.clickInPage(*view, QStringLiteral("button.allow"));
    stage_.waitFor(QStringLiteral("the chats"), [&] { return window.page() == MainWindow::Page::Chats; });
    stage_.waitFor(QStringLiteral("the transcript page"),
                   [&] { return app_.model().transcript().isReady(); });
    stage_.settle();
    stage_.picture(QStringLiteral("3-empty"), window);
}

void Tour::firstAnswer() {
    ask(QStringLiteral("Plan a weekend in Trieste by train from Vienna, mid-December, with one rainy day."));
    stage_.waitFor(QStringLiteral("half an answer with its plan"),
                   [this] { return answer() && answer()->activity && answer()->content.size() > 300; });
    stage_.picture(QStringLiteral("4-stream"), app_.window());
    waitForAnswer();
    stage_.picture(QStringLiteral("5-answer"), app_.window());
}

void Tour::anotherAnswer() {
    stage_.press(app_.window(), Qt::Key_N, Qt::ControlModifier);
    ask(QStringLiteral(
        "I need a parser for this grammar, about 40 rules, in a service that already links C++. "
        "Which language, and how would you start?"));
    waitForAnswer();
    stage_.picture(QStringLiteral("6-code"), app_.window());
    stage_.press(app_.window(), Qt::Key_N, Qt::ControlModifier);
    ask(QStringLiteral("Show me everything you can write in Markdown"));
    waitForAnswer();
    stage_.waitInPage(*app_.window().detail().findChild<QWebEngineView*>(), QStringLiteral(".katex-display"));
    stage_.settle();
    stage_.picture(QStringLiteral("7-everything"), app_.window());
}

void Tour::find() {
    stage_.press(app_.window(), Qt::Key_F, Qt::ControlModifier);
    stage_.settle();
    stage_.type(app_.window(), QStringLiteral("code"));
    stage_.settle();
    stage_.picture(QStringLiteral("8-find"), app_.window());
    stage_.press(app_.window(), Qt::Key_Escape);
}

void Tour::error() {
    stage_.press(app_.window(), Qt::Key_N, Qt::ControlModifier);
    ask(QStringLiteral("error credits, please"));
    waitForAnswer();
    stage_.picture(QStringLiteral("9-error"), app_.window());
}

void Tour::media() {
    stage_.press(app_.window(), Qt::Key_N, Qt::ControlModifier);
    ask(QStringLiteral("Draw a lighthouse at dusk"));
    waitForAnswer();
    stage_.picture(QStringLiteral("10-picture"), app_.window());
    ask(QStringLiteral("And now a song about it"));
    waitForAnswer();
    stage_.picture(QStringLiteral("11-song"), app_.window());
}

void Tour::credits() {
    MainWindow& window = app_.window();
    stage_.press(window, Qt::Key_N, Qt::ControlModifier);
    ask(QStringLiteral("error credits, again"));
    waitForAnswer();
    auto* view = window.detail().findChild<QWebEngineView*>();
    stage_.clickInPage(*view, QStringLiteral(".error-card button"));
    stage_.waitFor(QStringLiteral("the balance"),
                   [&] { return window.credits().isVisible() && app_.model().balance().billing(); });
    stage_.settle();
    stage_.picture(QStringLiteral("12-credits"), window);
    stage_.press(window, Qt::Key_Escape);
    stage_.waitFor(QStringLiteral("the sheet to close"), [&] { return !window.credits().isVisible(); });
}

void Tour::attachment() {
    MainWindow& window = app_.window();
    stage_.press(window, Qt::Key_N, Qt::ControlModifier);
    QGuiApplication::clipboard()->setImage(window.grab().toImage());
    stage_.press(window, Qt::Key_V, Qt::ControlModifier);
    stage_.waitFor(QStringLiteral("the pasted picture"), [this] {
        const QList<DraftFile>& files = app_.model().draftFiles();
        return files.size() == 1 && !files.first().preparing;
    });
    stage_.type(window, QStringLiteral("What is on this screen?"));
    stage_.settle();
    stage_.picture(QStringLiteral("13-attachment"), window);
}

void Tour::folders() {
    MainWindow& window = app_.window();
    AppModel& model = app_.model();
    stage_.press(window, Qt::Key_N, Qt::ControlModifier | Qt::AltModifier);
    stage_.waitFor(QStringLiteral("the folder's dialog"),
                   [&] { return window.findChild<NameDialog*>() != nullptr; });
    stage_.type(window, QStringLiteral("Trieste"));
    stage_.settle();
    stage_.picture(QStringLiteral("14-new-folder"), window);
    stage_.press(window, Qt::Key_Return);
    stage_.waitFor(QStringLiteral("the folder"), [&] { return model.folders().folders().size() == 1; });
    const QString folder = model.folders().folders().first().id;
    const ChatStore& chats = model.store();
    model.folders().assign({chats.at(chats.count() - 1).id, chats.at(chats.count() - 2).id}, folder);
    model.folders().create(QStringLiteral("Work"));
    stage_.settle();
    stage_.picture(QStringLiteral("15-folders"), window);
}

void Tour::dialogs() {
    AppModel& model = app_.model();
    model.select(model.store().at(0).id);
    const auto item = [this](const char* title) {
        for (QAction* action : app_.window().menuBar()->findChildren<QAction*>()) {
            if (action->text() == QString::fromUtf8(title))
                return action->trigger();
        }
    };
    question(QStringLiteral("16-rename"), [item] { item("Rename Chat…"); });
    question(QStringLiteral("17-delete"), [item] { item("Delete Chat…"); });
    question(QStringLiteral("18-delete-folder"),
             [&model] { model.prompts().setConfirmingFolderDelete(model.folders().folders().first()); });
}

void Tour::question(const QString& name, const std::function<void()>& prompt) {
    MainWindow& window = app_.window();
    const auto open = [&window] {
        const QList<ModalCard*> cards = window.findChildren<ModalCard*>();
        return std::any_of(cards.begin(), cards.end(),
                           [](const ModalCard* card) { return card->isVisible(); });
    };
    prompt();
    stage_.waitFor(name, open);
    stage_.settle();
    stage_.picture(name, window);
    stage_.press(window, Qt::Key_Escape);
    stage_.waitFor(QStringLiteral("the dialog to go"), [open] { return !open(); });
}

void Tour::privateChat() {
    MainWindow& window = app_.window();
    stage_.press(window, Qt::Key_N, Qt::ControlModifier | Qt::ShiftModifier);
    stage_.settle();
    stage_.picture(QStringLiteral("19-private"), window);
    ask(QStringLiteral("How do I tell my landlord that I move out?"));
    waitForAnswer();
    stage_.picture(QStringLiteral("20-private-answer"), window);
}

void Tour::narrow() {
    MainWindow& window = app_.window();
    const QSize usual = window.size();
    const ChatStore& chats = app_.model().store();
    app_.model().select(chats.at(chats.count() - 1).id);
    window.resize(window.minimumSize());
    stage_.settle();
    stage_.picture(QStringLiteral("21-narrow"), window);
    stage_.press(window, Qt::Key_F9);
    stage_.settle();
    stage_.picture(QStringLiteral("22-narrow-sidebar"), window);
    window.resize(usual);
}

void Tour::ask(const QString& question) {
    stage_.type(app_.window(), question);
    stage_.settle();
    stage_.press(app_.window(), Qt::Key_Return);
    stage_.waitFor(QStringLiteral("the question to be sent"), [this] { return answer() != nullptr; });
}

void Tour::waitForAnswer() {
    stage_.waitFor(QStringLiteral("the end of the answer"),
                   [this] { return answer() && !answer()->pending; });
    stage_.settle();
}

const ChatMessage* Tour::answer() const {
    const Chat* chat = app_.model().selectedChat();
    return chat && !chat->messages.isEmpty() ? &chat->messages.last() : nullptr;
}

} // namespace teskal::tour
