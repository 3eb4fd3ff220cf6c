#include "TeskalCommands.h"

#include <QAction>
#include <QApplication>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>

namespace teskal {

TeskalCommands::TeskalCommands(QMenuBar& menuBar) : QObject(&menuBar) {
    fillFile(*menuBar.addMenu(tr("&File")));
    fillEdit(*menuBar.addMenu(tr("&Edit")));
    fillView(*menuBar.addMenu(tr("&View")));
    fillChat(*menuBar.addMenu(tr("&Chat")));
    fillAccount(*menuBar.addMenu(tr("&Account")));
    fillWindow(*menuBar.addMenu(tr("&Window")));
    fillHelp(*menuBar.addMenu(tr("&Help")));
    setState({});
    setSidebarShown(true);
    setFullScreen(false);

    // Opening the menu bar by keyboard moves the focus into it; the commands mean what had it before.
    focus_ = QApplication::focusWidget();
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget* /*before*/, QWidget* now) {
        if (now != nullptr && qobject_cast<QMenuBar*>(now) == nullptr)
            focus_ = now;
    });
}

QAction* TeskalCommands::add(QMenu& menu, const QString& title, const QKeySequence& shortcut,
                             void (TeskalCommands::*signal)()) {
    QAction* action = menu.addAction(title);
    action->setShortcut(shortcut);
    connect(action, &QAction::triggered, this, signal);
    return action;
}

void TeskalCommands::fillFile(QMenu& menu) {
    add(menu, tr("New Chat"), Qt::CTRL | Qt::Key_N, &TeskalCommands::newChatRequested);
    signedInItems_ = {
        add(menu, tr("New Private Chat"), Qt::CTRL | Qt::SHIFT | Qt::Key_N,
            &TeskalCommands::newPrivateChatRequested),
        add(menu, tr("New Folder…"), Qt::CTRL | Qt::ALT | Qt::Key_N, &TeskalCommands::newFolderRequested)};
    menu.addSeparator();
    add(menu, tr("Quit"), Qt::CTRL | Qt::Key_Q, &TeskalCommands::quitRequested)
        ->setMenuRole(QAction::QuitRole);
}

void TeskalCommands::fillEdit(QMenu& menu) {
    const auto item = [&](const QString& title, QKeySequence::StandardKey keys, EditAction action) {
        QAction* entry = menu.addAction(title);
        entry->setShortcut(keys);
        connect(entry, &QAction::triggered, this, [this, action] { edit(action); });
        editItems_.push_back({action, entry});
    };
    item(tr("Undo"), QKeySequence::Undo, EditAction::Undo);
    item(tr("Redo"), QKeySequence::Redo, EditAction::Redo);
    menu.addSeparator();
    item(tr("Cut"), QKeySequence::Cut, EditAction::Cut);
    item(tr("Copy"), QKeySequence::Copy, EditAction::Copy);
    item(tr("Paste"), QKeySequence::Paste, EditAction::Paste);
    item(tr("Select All"), QKeySequence::SelectAll, EditAction::SelectAll);
    menu.addSeparator();
    fillFind(menu);
    menu.addSeparator();
    add(menu, tr("Settings…"), Qt::CTRL | Qt::Key_Comma, &TeskalCommands::settingsRequested)
        ->setMenuRole(QAction::PreferencesRole);
    // Only an open menu shows what is possible; closed, the shortcuts must stay alive.
    connect(&menu, &QMenu::aboutToShow, this, [this] { enableEditItems(true); });
    connect(&menu, &QMenu::aboutToHide, this, [this] {
        QMetaObject::invokeMethod(
            this, [this] { enableEditItems(false); }, Qt::QueuedConnection);
    });
}

void TeskalCommands::fillFind(QMenu& menu) {
    QAction* find =
        add(menu, tr("Find…"), QKeySequence(Qt::CTRL | Qt::Key_F), &TeskalCommands::findRequested);
    QAction* next = add(menu, tr("Find Next"), {}, &TeskalCommands::findNextRequested);
    next->setShortcuts({QKeySequence(Qt::CTRL | Qt::Key_G), QKeySequence(Qt::Key_F3)});
    QAction* previous = add(menu, tr("Find Previous"), {}, &TeskalCommands::findPreviousRequested);
    previous->setShortcuts(
        {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_G), QKeySequence(Qt::SHIFT | Qt::Key_F3)});
    transcriptItems_.insert(transcriptItems_.end(), {find, next, previous});
    signedInItems_.push_back(
        add(menu, tr("Search Chats"), Qt::CTRL | Qt::Key_K, &TeskalCommands::searchRequested));
}

void TeskalCommands::fillView(QMenu& menu) {
    sidebar_ = add(menu, {}, Qt::Key_F9, &TeskalCommands::sidebarToggled);
    signedInItems_.push_back(sidebar_);
    menu.addSeparator();
    QAction* in = add(menu, tr("Zoom In"), {}, &TeskalCommands::zoomInRequested);
    // On many keyboards the plus sign is the equals sign's upper half.
    in->setShortcuts({QKeySequence(Qt::CTRL | Qt::Key_Plus), QKeySequence(Qt::CTRL | Qt::Key_Equal)});
    QAction* out = add(menu, tr("Zoom Out"), Qt::CTRL | Qt::Key_Minus, &TeskalCommands::zoomOutRequested);
    QAction* reset = add(menu, tr("Actual Size"), Qt::CTRL | Qt::Key_0, &TeskalCommands::zoomResetRequested);
    menu.addSeparator();
    QAction* end = add(menu, tr("Scroll to End"), {}, &TeskalCommands::scrollToEndRequested);
    transcriptItems_.insert(transcriptItems_.end(), {in, out, reset, end});
    menu.addSeparator();
    fullScreen_ = add(menu, {}, Qt::Key_F11, &TeskalCommands::fullScreenToggled);
}

void TeskalCommands::fillChat(QMenu& menu) {
    stop_ = add(menu, tr("Stop Answer"), Qt::CTRL | Qt::Key_Period, &TeskalCommands::stopRequested);
    askAgain_ = add(menu, tr("Ask Again"), Qt::CTRL | Qt::Key_R, &TeskalCommands::askAgainRequested);
    copyLast_ = add(menu, tr("Copy Last Answer"), Qt::CTRL | Qt::SHIFT | Qt::Key_C,
                    &TeskalCommands::copyLastAnswerRequested);
    menu.addSeparator();
    signedInItems_.push_back(
        add(menu, tr("Attach Files…"), Qt::CTRL | Qt::Key_U, &TeskalCommands::attachRequested));
    menu.addSeparator();
    chatItems_ = {add(menu, tr("Rename Chat…"), {}, &TeskalCommands::renameChatRequested),
                  add(menu, tr("Delete Chat…"), Qt::CTRL | Qt::SHIFT | Qt::Key_Backspace,
                      &TeskalCommands::deleteChatRequested)};
}

void TeskalCommands::fillAccount(QMenu& menu) {
    signIn_ = add(menu, tr("Sign In with Passhold"), {}, &TeskalCommands::signInRequested);
    accountItems_ = {
        add(menu, tr("Credits…"), Qt::CTRL | Qt::SHIFT | Qt::Key_B, &TeskalCommands::creditsRequested),
        add(menu, tr("API Keys…"), {}, &TeskalCommands::keysRequested),
        add(menu, tr("Where Requests Went…"), {}, &TeskalCommands::routesRequested),
        add(menu, tr("Privacy and Models…"), {}, &TeskalCommands::privacyRequested),
        menu.addSeparator(),
        add(menu, tr("Sign Out"), {}, &TeskalCommands::signOutRequested),
    };
}

void TeskalCommands::fillWindow(QMenu& menu) {
    add(menu, tr("Minimize"), Qt::CTRL | Qt::Key_M, &TeskalCommands::minimizeRequested);
    add(menu, tr("Close Window"), Qt::CTRL | Qt::Key_W, &TeskalCommands::closeRequested);
}

void TeskalCommands::fillHelp(QMenu& menu) {
    const auto item = [&](const QString& title, const QString& path) {
        connect(menu.addAction(title), &QAction::triggered, this,
                [this, path] { Q_EMIT helpRequested(path); });
    };
    item(tr("Teskal Help"), QStringLiteral("/docs"));
    item(tr("API Documentation"), QStringLiteral("/docs/api-chat"));
    item(tr("Status"), QStringLiteral("/status"));
}

void TeskalCommands::setState(const CommandState& state) {
    for (QAction* item : transcriptItems_)
        item->setEnabled(state.hasMessages);
    for (QAction* item : signedInItems_)
        item->setEnabled(state.signedIn);
    for (QAction* item : chatItems_)
        item->setEnabled(state.chatExists);
    for (QAction* item : accountItems_)
        item->setVisible(state.signedIn);
    stop_->setEnabled(state.busy);
    askAgain_->setEnabled(!state.busy && state.endsInAnswer);
    copyLast_->setEnabled(state.chatSelected);
    signIn_->setVisible(!state.signedIn);
}

void TeskalCommands::setSidebarShown(bool shown) {
    sidebar_->setText(shown ? tr("Hide Sidebar") : tr("Show Sidebar"));
}

void TeskalCommands::setFullScreen(bool full) {
    fullScreen_->setText(full ? tr("Exit Full Screen") : tr("Enter Full Screen"));
}

void TeskalCommands::setEditArea(QWidget* area, std::function<void(EditAction)> perform) {
    editArea_ = area;
    performInArea_ = std::move(perform);
}

bool TeskalCommands::focusIsInEditArea() const {
    return focus_ && editArea_ && performInArea_ && (focus_ == editArea_ || editArea_->isAncestorOf(focus_));
}

void TeskalCommands::edit(EditAction action) {
    if (!performEdit(focus_, action) && focusIsInEditArea())
        performInArea_(action);
}

void TeskalCommands::enableEditItems(bool byFocus) {
    const bool isInArea = focusIsInEditArea();
    for (const EditItem& entry : editItems_) {
        // What the area shows can be read, not changed.
        const bool reads = entry.action == EditAction::Copy || entry.action == EditAction::SelectAll;
        entry.item->setEnabled(!byFocus || (isInArea ? reads : canEdit(focus_, entry.action)));
    }
}

} // namespace teskal
