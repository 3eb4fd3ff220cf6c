#include "SidebarBinding.h"

#include "AppModel.h"
#include "BalanceLine.h"
#include "ChatMarkdown.h"
#include "sidebar/AccountFooter.h"
#include "sidebar/SidebarMenus.h"
#include "sidebar/SidebarTree.h"
#include "sidebar/SidebarView.h"

#include <QGuiApplication>
#include <QSettings>

#include <algorithm>

namespace teskal {

namespace {

const QString& collapsedKey() {
    static const QString key = QStringLiteral("sidebar.collapsedFolders");
    return key;
}

std::optional<Folder> folderOf(const AppModel& model, const QString& id) {
    const QList<Folder>& folders = model.folders().folders();
    const auto found =
        std::find_if(folders.begin(), folders.end(), [&id](const Folder& folder) { return folder.id == id; });
    return found != folders.end() ? std::optional(*found) : std::nullopt;
}

} // namespace

SidebarBinding::SidebarBinding(AppModel& model, SidebarView& sidebar, QSettings& settings)
    : model_(model), sidebar_(sidebar), settings_(settings), search_(model.store(), model.services().clock),
      rows_({model.store(), model.folders(), search_, model.services().clock,
             [&model](const QString& id) { return model.isAnswering(id); }}),
      picture_(model.services().http) {
    loadCollapsed();
    sidebar.setRows(&rows_);
    bindRows();
    bindSearch();
    bindList();
    bindMenus();
    bindAccount();
    showAccount();
    showHint();
}

void SidebarBinding::bindRows() {
    connect(&model_, &AppModel::answeringChanged, &rows_, &SidebarModel::updateAnswering);
    connect(&rows_, &SidebarModel::emptinessChanged, this, &SidebarBinding::showHint);
    connect(&rows_, &SidebarModel::collapsedChanged, this, &SidebarBinding::storeCollapsed);
    // The machine may have slept, or be in another time zone.
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, &rows_, [this](Qt::ApplicationState state) {
        if (state == Qt::ApplicationActive)
            rows_.refreshDates();
    });
}

void SidebarBinding::bindSearch() {
    connect(&sidebar_, &SidebarView::searchOpened, &search_, &ChatSearch::prepare);
    connect(&sidebar_, &SidebarView::searchChanged, &search_, &ChatSearch::search);
    // What was searched for in one account is nothing to another.
    connect(&model_.store(), &ChatStore::listReset, &sidebar_, &SidebarView::clearSearch);
}

void SidebarBinding::bindList() {
    SidebarTree& list = sidebar_.list();
    connect(&list, &SidebarTree::chatChosen, this, [this](const QString& id) { model_.select(id); });
    connect(&list, &SidebarTree::chatOpened, this, &SidebarBinding::chatOpened);
    connect(&list, &SidebarTree::chatRenamed, &model_, &AppModel::renameChat);
    connect(&list, &SidebarTree::folderRenamed, &model_.folders(), &FolderStore::rename);
    connect(&list, &SidebarTree::folderToggled, &rows_, &SidebarModel::setFolderOpen);
    connect(&list, &SidebarTree::filingRequested, this, &SidebarBinding::file);
    connect(&list, &SidebarTree::deleteChatsRequested, this, &SidebarBinding::askToDelete);
    connect(&list, &SidebarTree::deleteFolderRequested, this, &SidebarBinding::askToDeleteFolder);
    const auto showSelection = [this] {
        sidebar_.list().setSelectedChat(model_.selection().value_or(QString()));
    };
    connect(&model_, &AppModel::selectionChanged, this, showSelection);
    showSelection();
}

void SidebarBinding::bindMenus() {
    SidebarMenus& menus = sidebar_.menus();
    connect(&menus, &SidebarMenus::renameChatRequested, &model_.prompts(),
            [this](const QString& id) { model_.prompts().setRenaming(id); });
    connect(&menus, &SidebarMenus::copyTranscriptRequested, this, &SidebarBinding::copyTranscript);
    connect(&menus, &SidebarMenus::deleteChatsRequested, this, &SidebarBinding::askToDelete);
    connect(&menus, &SidebarMenus::filingRequested, this, &SidebarBinding::file);
    connect(&menus, &SidebarMenus::newFolderRequested, this,
            [this](const QString& id) { model_.prompts().setFolderPrompt(FolderPrompt::create(id)); });
    connect(&menus, &SidebarMenus::renameFolderRequested, this, &SidebarBinding::askForFolderName);
    connect(&menus, &SidebarMenus::deleteFolderRequested, this, &SidebarBinding::askToDeleteFolder);
    connect(&sidebar_, &SidebarView::newChatRequested, &model_, &AppModel::newChat);
    connect(&sidebar_, &SidebarView::newFolderRequested, this,
            [this] { model_.prompts().setFolderPrompt(FolderPrompt::create()); });
}

void SidebarBinding::bindAccount() {
    AccountFooter& footer = sidebar_.footer();
    connect(&model_.auth(), &Auth::profileChanged, this, &SidebarBinding::showAccount);
    connect(&model_.balance(), &Balance::changed, this, &SidebarBinding::showAccount);
    connect(&picture_, &ProfilePicture::changed, this,
            [this] { sidebar_.footer().setPicture(picture_.image()); });
    connect(&footer, &AccountFooter::privacyRequested, this, &SidebarBinding::privacyRequested);
    connect(&footer, &AccountFooter::routesRequested, this, [this] { model_.setSheet(Sheet::Routes); });
    connect(&footer, &AccountFooter::keysRequested, this, [this] { model_.setSheet(Sheet::Keys); });
    connect(&footer, &AccountFooter::creditsRequested, this, [this] { model_.setSheet(Sheet::Credits); });
    connect(&footer, &AccountFooter::signOutRequested, &model_, &AppModel::signOut);
}

void SidebarBinding::showAccount() {
    const std::optional<Profile>& profile = model_.auth().profile();
    sidebar_.footer().setName(profile ? profile->displayName() : QString());
    picture_.setSource(profile ? profile->picture : std::nullopt);
    // While it is asked for again, what was said last stays.
    const QString line = balanceLine(model_.balance());
    if (!line.isEmpty() || !model_.balance().isRefreshing())
        sidebar_.footer().setBalance(line);
}

void SidebarBinding::showHint() {
    switch (rows_.emptiness()) {
    case SidebarModel::Emptiness::NoChats:
        return sidebar_.setHint(tr("Your chats will appear here."));
    case SidebarModel::Emptiness::NoMatches:
        return sidebar_.setHint(tr("No chats match “%1”").arg(rows_.shownQuery()));
    case SidebarModel::Emptiness::None:
        return sidebar_.setHint(QString());
    }
}

void SidebarBinding::loadCollapsed() {
    const QStringList ids =
        settings_.value(collapsedKey()).toString().split(QLatin1Char(','), Qt::SkipEmptyParts);
    rows_.setCollapsed(QSet<QString>(ids.begin(), ids.end()));
}

void SidebarBinding::storeCollapsed() {
    QStringList ids(rows_.collapsed().begin(), rows_.collapsed().end());
    ids.sort();
    settings_.setValue(collapsedKey(), ids.join(QLatin1Char(',')));
}

void SidebarBinding::askToDelete(const QStringList& ids) {
    if (ids.size() == 1)
        model_.prompts().setConfirmingDelete(ids.constFirst());
    else if (!ids.isEmpty())
        Q_EMIT deleteChatsRequested(ids);
}

void SidebarBinding::askToDeleteFolder(const QString& id) {
    if (const std::optional<Folder> folder = folderOf(model_, id))
        model_.prompts().setConfirmingFolderDelete(folder);
}

void SidebarBinding::askForFolderName(const QString& id) {
    if (const std::optional<Folder> folder = folderOf(model_, id))
        model_.prompts().setFolderPrompt(FolderPrompt::rename(*folder));
}

void SidebarBinding::file(const QStringList& chatIds, const std::optional<QString>& folderId) {
    QStringList known;
    for (const QString& id : chatIds) {
        if (model_.store().rowOf(id) >= 0)
            known.append(id);
    }
    if (!known.isEmpty())
        model_.folders().assign(known, folderId);
}

void SidebarBinding::copyTranscript(const QString& id) {
    const Chat* chat = model_.store().chat(id);
    if (!chat)
        return;
    model_.services().copyText(chatMarkdown(*chat));
    model_.show(tr("Copied"));
}

} // namespace teskal
