// The rows as the views read them.

#include "ChatStore.h"
#include "FolderStore.h"
#include "SidebarModel.h"

namespace teskal {

namespace {

QString firstLine(const QString& title) {
    return title.section(QLatin1Char('\n'), 0, 0);
}

} // namespace

QModelIndex SidebarModel::chatIndex(const QString& chatId) const {
    SidebarSection* section = sectionOf_.value(chatId, nullptr);
    return section ? createIndex(int(section->chats.indexOf(chatId)), 0, section) : QModelIndex();
}

QList<SidebarRows::FolderName> SidebarModel::folderNames() const {
    QList<FolderName> names;
    for (const Folder& folder : sources_.folders.folders())
        names.append({folder.id, folder.name});
    return names;
}

QString SidebarModel::folderOf(const QString& chatId) const {
    return sources_.folders.filed().value(chatId);
}

QModelIndex SidebarModel::indexOf(const SidebarSection& section) const {
    return createIndex(section.row, 0, nullptr);
}

QModelIndex SidebarModel::index(int row, int column, const QModelIndex& parent) const {
    if (!hasIndex(row, column, parent))
        return {};
    return createIndex(row, column, parent.isValid() ? sections_[std::size_t(parent.row())].get() : nullptr);
}

QModelIndex SidebarModel::parent(const QModelIndex& index) const {
    const auto* section = static_cast<const SidebarSection*>(index.constInternalPointer());
    return section ? indexOf(*section) : QModelIndex();
}

int SidebarModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid())
        return int(sections_.size());
    return parent.internalPointer() ? 0 : sections_[std::size_t(parent.row())]->rowCount();
}

int SidebarModel::columnCount(const QModelIndex& /*parent*/) const {
    return 1;
}

QVariant SidebarModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid())
        return {};
    const auto* section = static_cast<const SidebarSection*>(index.constInternalPointer());
    if (!section)
        return sectionData(*sections_[std::size_t(index.row())], role);
    if (!section->hint)
        return chatData(section->chats[index.row()], role);
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return tr("Drop chats here to file them in this folder");
    case SidebarKindRole:
        return int(SidebarKind::FolderHint);
    default:
        return {};
    }
}

QVariant SidebarModel::sectionData(const SidebarSection& section, int role) const {
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
    case Qt::AccessibleTextRole:
        return section.title;
    case Qt::AccessibleDescriptionRole:
        return section.isFolder() ? tr("%n chat(s)", nullptr, int(section.chats.size())) : QString();
    case SidebarKindRole:
        return int(section.kind);
    case SidebarIdRole:
        return section.id;
    case SidebarCountRole:
        return int(section.chats.size());
    case SidebarOpenRole:
        return !section.isFolder() || !shownQuery_.isEmpty() || !collapsed_.contains(section.id);
    default:
        return {};
    }
}

QVariant SidebarModel::chatData(const QString& chatId, int role) const {
    // The layout of the view asks this of every row: it does not need the chat.
    if (role == SidebarKindRole)
        return int(SidebarKind::Chat);
    if (role == SidebarIdRole)
        return chatId;
    const Chat* chat = sources_.store.chat(chatId);
    if (!chat)
        return {}; // it has left the store and is about to leave the rows
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return firstLine(chat->title);
    case Qt::AccessibleTextRole:
        return sources_.isAnswering(chatId) ? tr("%1, answering").arg(firstLine(chat->title))
                                            : firstLine(chat->title);
    case SidebarAnsweringRole:
        return sources_.isAnswering(chatId);
    default:
        return {};
    }
}

QVariant SidebarModel::headerData(int /*section*/, Qt::Orientation /*orientation*/, int role) const {
    return role == Qt::DisplayRole ? tr("Chats") : QVariant();
}

Qt::ItemFlags SidebarModel::flags(const QModelIndex& index) const {
    if (!index.isValid())
        return Qt::NoItemFlags;
    switch (sidebarKind(index)) {
    case SidebarKind::Chat:
        return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsEditable | Qt::ItemNeverHasChildren;
    case SidebarKind::Folder:
        return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsEditable;
    case SidebarKind::DateGroup:
        return Qt::ItemIsEnabled;
    case SidebarKind::FolderHint:
        return Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    }
    return Qt::NoItemFlags;
}

} // namespace teskal
