#include "ChatListModel.h"

#include "AppModel.h"
#include "sidebar/ChatRole.h"

namespace teskal {

ChatListModel::ChatListModel(const AppModel& model, QObject* parent)
    : QAbstractListModel(parent), model_(model), store_(model.store()) {
    connect(&store_, &ChatStore::listReset, this, &ChatListModel::reload);
    connect(&store_, &ChatStore::chatInserted, this, &ChatListModel::insert);
    connect(&store_, &ChatStore::chatRemoved, this, &ChatListModel::take);
    connect(&store_, &ChatStore::chatMoved, this, &ChatListModel::move);
    connect(&store_, &ChatStore::chatChanged, this,
            [this](const QString& id) { chatChanged(id, {Qt::DisplayRole}); });
    connect(&model_, &AppModel::answeringChanged, this,
            [this](const QString& id) { chatChanged(id, {ChatAnsweringRole}); });
    reload();
}

int ChatListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(ids_.size());
}

QVariant ChatListModel::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const QString& id = ids_[index.row()];
    const Chat* chat = store_.chat(id);
    if (!chat)
        return {};
    switch (role) {
    case Qt::DisplayRole:
    case Qt::AccessibleTextRole:
        return chat->title;
    case ChatIdRole:
        return id;
    case ChatAnsweringRole:
        return model_.isAnswering(id);
    default:
        return {};
    }
}

void ChatListModel::reload() {
    beginResetModel();
    ids_.clear();
    for (int row = 0; row < store_.count(); ++row)
        ids_.append(store_.at(row).id);
    endResetModel();
}

void ChatListModel::insert(int row) {
    beginInsertRows({}, row, row);
    ids_.insert(row, store_.at(row).id);
    endInsertRows();
}

void ChatListModel::take(int row) {
    beginRemoveRows({}, row, row);
    ids_.removeAt(row);
    endRemoveRows();
}

void ChatListModel::move(int from, int to) {
    // Qt names the row before which the moved one is put, counted before the move.
    beginMoveRows({}, from, from, {}, to > from ? to + 1 : to);
    ids_.move(from, to);
    endMoveRows();
}

void ChatListModel::chatChanged(const QString& id, const QList<int>& roles) {
    const auto row = ids_.indexOf(id);
    if (row >= 0)
        Q_EMIT dataChanged(index(int(row)), index(int(row)), roles);
}

} // namespace teskal
