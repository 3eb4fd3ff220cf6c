#include "TeskalCommands.h"

#include <QAction>
#include <QApplication>
#include <QKeySequence>
#include <QMenu>
#include <QMenuBar>

namespace teskal {

TeskalCommands::TeskalCommands(QMenuBar& menuBar) : QObject(&menuBar) {
    QMenu* file = menuBar.addMenu(tr("&File"));
    add(*file, tr("New Chat"), QKeySequence(Qt::CTRL | Qt::Key_N), &TeskalCommands::newChatRequested);
    file->addSeparator();
    QAction* quit =
        add(*file, tr("Quit"), QKeySequence(Qt::CTRL | Qt::Key_Q), &TeskalCommands::quitRequested);
    quit->setMenuRole(QAction::QuitRole);

    fillEdit(*menuBar.addMenu(tr("&Edit")));
    QMenu* view = menuBar.addMenu(tr("&View"));
    transcriptItems_.push_back(add(*view, tr("Scroll to End"), {}, &TeskalCommands::scrollToEndRequested));

    QMenu* chat = menuBar.addMenu(tr("&Chat"));
    stop_ = add(*chat, tr("Stop Answer"), QKeySequence(Qt::CTRL | Qt::Key_Period),
                &TeskalCommands::stopRequested);
    askAgain_ =
        add(*chat, tr("Ask Again"), QKeySequence(Qt::CTRL | Qt::Key_R), &TeskalCommands::askAgainRequested);
    copyLast_ = add(*chat, tr("Copy Last Answer"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_C),
                    &TeskalCommands::copyLastAnswerRequested);
    attach_ = add(*chat, tr("Attach Files…"), QKeySequence(Qt::CTRL | Qt::Key_U),
                  &TeskalCommands::attachRequested);

    QMenu* account = menuBar.addMenu(tr("&Account"));
    signIn_ = add(*account, tr("Sign In with Passhold"), {}, &TeskalCommands::signInRequested);
    credits_ = add(*account, tr("Credits…"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_B),
                   &TeskalCommands::creditsRequested);
    signOut_ = add(*account, tr("Sign Out"), {}, &TeskalCommands::signOutRequested);

    fillHelp(*menuBar.addMenu(tr("&Help")));
    setState({});

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
    attach_->setEnabled(state.signedIn);
    stop_->setEnabled(state.busy);
    askAgain_->setEnabled(!state.busy && state.endsInAnswer);
    copyLast_->setEnabled(state.chatSelected);
    signIn_->setVisible(!state.signedIn);
    credits_->setVisible(state.signedIn);
    signOut_->setVisible(state.signedIn);
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
    for (const EditItem& entry : editItems_)
        entry.item->setEnabled(!byFocus || focusIsInEditArea() || canEdit(focus_, entry.action));
}

} // namespace teskal
