#include "StatesTour.h"

#include "TeskalApp.h"
#include "chat/DetailView.h"
#include "sidebar/AccountFooter.h"
#include "sidebar/SidebarTree.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QDragEnterEvent>
#include <QMimeData>
#include <QWebEngineView>

namespace teskal::tour {

void StatesTour::play() {
    jobs();
    reasons();
    search();
    menus();
    drag();
    notice();
}

void StatesTour::jobs() {
    MainWindow& window = app_.window();
    const auto last = [this]() -> const ChatMessage* {
        const Chat* chat = app_.model().selectedChat();
        return chat && !chat->messages.isEmpty() ? &chat->messages.last() : nullptr;
    };
    const std::pair<const char*, const char*> made[] = {{"30-song-done", "A song about a lighthouse"},
                                                        {"31-video-done", "A video of the sea at night"},
                                                        {"32-video-failed", "A broken video"}};
    for (const auto& [name, question] : made) {
        stage_.press(window, Qt::Key_N, Qt::ControlModifier);
        while (!app_.model().draftFiles().isEmpty())
            app_.model().removeDraftFile(app_.model().draftFiles().first().number);
        stage_.press(window, Qt::Key_A, Qt::ControlModifier); // what was left unsent
        stage_.type(window, QString::fromUtf8(question));
        stage_.press(window, Qt::Key_Return);
        stage_.waitFor(QString::fromUtf8(name), [&last] {
            return last() && !last()->pending && last()->media && !last()->media->isPending();
        });
        stage_.settle();
        stage_.settle(); // the player has the first picture a little later
        stage_.picture(QString::fromUtf8(name), window);
    }
}

void StatesTour::reasons() {
    const ChatStore& chats = app_.model().store();
    app_.model().select(chats.at(chats.count() - 1).id);
    stage_.settle();
    auto* view = app_.window().detail().findChild<QWebEngineView*>();
    stage_.clickInPage(*view, QStringLiteral(".disclosure"));
    stage_.settle();
    stage_.press(app_.window(), Qt::Key_End, Qt::ControlModifier);
    stage_.settle();
    stage_.picture(QStringLiteral("33-reasons"), app_.window());
}

void StatesTour::search() {
    MainWindow& window = app_.window();
    stage_.press(window, Qt::Key_K, Qt::ControlModifier);
    stage_.type(window, QStringLiteral("train"));
    stage_.settle();
    stage_.picture(QStringLiteral("34-search"), window);
    stage_.type(window, QStringLiteral("spotting"));
    stage_.settle();
    stage_.picture(QStringLiteral("35-search-none"), window);
    stage_.press(window, Qt::Key_Escape);
}

void StatesTour::menus() {
    MainWindow& window = app_.window();
    const auto popup = [this, &window](const QString& name) {
        stage_.waitFor(name, [] { return QApplication::activePopupWidget() != nullptr; });
        stage_.settle();
        stage_.picture(name, window);
        QApplication::activePopupWidget()->close();
    };
    stage_.click(*window.findChild<AccountFooter*>());
    popup(QStringLiteral("36-account-menu"));
    auto* tree = window.findChild<SidebarTree*>();
    const QPoint place = tree->visualRect(tree->selectionModel()->selectedIndexes().first()).center();
    QContextMenuEvent event(QContextMenuEvent::Mouse, place, tree->viewport()->mapToGlobal(place));
    QApplication::sendEvent(tree->viewport(), &event);
    popup(QStringLiteral("37-chat-menu"));
}

void StatesTour::drag() {
    DetailView& detail = app_.window().detail();
    QMimeData files;
    files.setUrls({QUrl::fromLocalFile(QStringLiteral("/tmp/holiday.jpg"))});
    QDragEnterEvent enter(detail.rect().center(), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&detail, &enter);
    stage_.settle();
    stage_.picture(QStringLiteral("38-drop-target"), app_.window());
    QDragLeaveEvent leave;
    QApplication::sendEvent(&detail, &leave);
}

void StatesTour::notice() {
    app_.model().attach({QUrl::fromLocalFile(QStringLiteral("/gone/Minutes.pdf"))});
    stage_.waitFor(QStringLiteral("the notice"), [this] { return !app_.model().toast().isEmpty(); });
    stage_.settle();
    stage_.picture(QStringLiteral("39-notice"), app_.window());
}

} // namespace teskal::tour
