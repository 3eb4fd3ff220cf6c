#pragma once

#include "ChatSearch.h"
#include "ChatStore.h"
#include "FolderStore.h"
#include "ManualClock.h"
#include "SidebarModel.h"
#include "WaitUntil.h"

#include <QCoreApplication>
#include <QFile>
#include <QSet>
#include <QTemporaryDir>

#include <algorithm>
#include <functional>
#include <random>

namespace teskal::test {

/// Chats and folders with the sidebar's rows over them.
struct SidebarLibrary {
    explicit SidebarLibrary(double nowMs = 1'800'000'000'000.0) : clock(nowMs) {
        store.claim(u"account"_qs);
        folders.claim(u"account"_qs, std::nullopt);
    }

    SidebarModel::Sources sources() {
        return {store, folders, search, clock, [this](const QString& id) { return answering.contains(id); }};
    }

    /// A chat of that age with one message.
    QString add(const QString& title, double ageMs = 0, const QString& text = {}) {
        Chat chat;
        chat.id = u"c%1"_qs.arg(++chats);
        chat.title = title;
        chat.createdAt = chat.updatedAt = clock.nowMs() - ageMs;
        ChatMessage message;
        message.id = u"m"_qs;
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

    /// Leaves the account and comes back to it: the chats of its file, in any order, are read in two parts.
    /// \a between is called when the first is there.
    bool readAgain(std::mt19937& random, const std::function<void()>& between) {
        store.claim(std::nullopt);
        QFile file(folder.filePath(u"account.json"_qs));
        if (file.open(QFile::ReadWrite | QFile::ExistingOnly)) {
            QList<Chat> all = decodeChats(file.readAll());
            std::shuffle(all.begin(), all.end(), random);
            const qsizetype half = all.size() / 2;
            file.resize(0);
            file.write(encodeChats(all.first(half)).chopped(1) + (half > 0 ? "," : "") +
                       QByteArray(1'100'000, ' ') + encodeChats(all.sliced(half)).sliced(1));
            file.close();
        }
        QObject context;
        QObject::connect(&store, &ChatStore::newestLoaded, &context, between);
        store.claim(u"account"_qs);
        return waitUntil([this] { return !store.isLoading(); });
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
