#pragma once

#include <QAbstractListModel>
#include <QStringList>

namespace teskal {

class AppModel;
class ChatStore;

/// The saved chats as rows, newest first, with the roles of ChatRole.h. Follows the store with exact row
/// changes; a streamed answer changes no row.
class ChatListModel final : public QAbstractListModel {
    Q_OBJECT

public:
    /// \a model must outlive this object.
    explicit ChatListModel(const AppModel& model, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    void reload();
    void insert(int row);
    void take(int row);
    void move(int from, int to);
    void chatChanged(const QString& id, const QList<int>& roles);

    const AppModel& model_;
    const ChatStore& store_;
    QStringList ids_; ///< the rows as the views know them
};

} // namespace teskal
