#pragma once

#include "ChatSearch.h"
#include "ChatStore.h"
#include "FolderStore.h"
#include "ManualClock.h"
#include "SidebarModel.h"
#include "WaitUntil.h"

#include <QCoreApplication>
#include <QSet>
#include <QTemporaryDir>

namespace teskal::test {

/// Chats and folders with the sidebar's rows over them.
struct SidebarLibrary {
    explicit SidebarLibrary(double nowMs = 1'800'000'000'000.0) : clock(nowMs) {
        store.claim(QStringLiteral("account"));
        folders.claim(QStringLiteral("account"), std::nullopt);
    }

    SidebarModel::Sources sources() {
        return {store, folders, search, clock, [this](const QString& id) { return answering.contains(id); }};
    }

    /// A chat of that age with one message.
    QString add(const QString& title, double ageMs = 0, const QString& text = {}) {
        Chat chat;
        chat.id = QStringLiteral("c%1").arg(++chats);
        chat.title = title;
        chat.createdAt = chat.updatedAt = clock.nowMs() - ageMs;
        ChatMessage message;
        message.id = QStringLiteral("m");
        message.content = text;
        chat.messages.append(message);
        store.upsertQuiet(chat);
        return chat.id;
    }

    QString addFolder(const QString& name, const QStringList& filed = {}) {
        const QString id = folders.create(name).value();
        folders.assign(filed, id);
        return id;
    }

    /// Lets the search come to its end and the rows show what it found.
    bool look(const QString& query) {
        search.search(query);
        clock.advance(std::chrono::minutes(1));
        const bool complete = waitUntil([this] { return !search.isSearching() || search.isComplete(); });
        QCoreApplication::processEvents();
        return complete;
    }

    QTemporaryDir folder;
    ManualClock clock;
    ChatStore store{folder.path(), clock};
    FolderStore folders{folder.path(), clock, [] { return 0.5; }};
    ChatSearch search{store, clock};
    QSet<QString> answering;
    int chats = 0;
};

/// The rows as text, what is under a row indented.
inline QStringList linesOf(const QAbstractItemModel& model, const QModelIndex& parent = {}) {
    QStringList lines;
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        lines.append(QString(parent.isValid() ? 2 : 0, QLatin1Char(' ')) + index.data().toString());
        lines.append(linesOf(model, index));
    }
    return lines;
}

} // namespace teskal::test
