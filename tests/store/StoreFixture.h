#pragma once

#include "ChatStore.h"
#include "ManualClock.h"
#include "TestFiles.h"
#include "WaitUntil.h"

#include <QStringList>
#include <QTemporaryDir>

namespace teskal::test {

/// A store over a folder of its own on a clock that stands still, and what its signals said.
class StoreFixture {
public:
    StoreFixture() {
        const auto note = [this](const QString& line) { signals_.append(line); };
        QObject::connect(&store, &ChatStore::listReset, &store, [note] { note(QStringLiteral("reset")); });
        QObject::connect(&store, &ChatStore::loaded, &store, [note] { note(QStringLiteral("loaded")); });
        QObject::connect(&store, &ChatStore::chatInserted, &store,
                         [note](int row) { note(QStringLiteral("inserted %1").arg(row)); });
        QObject::connect(&store, &ChatStore::chatRemoved, &store, [note](int row, const QString& id) {
            note(QStringLiteral("removed %1 %2").arg(row).arg(id));
        });
        QObject::connect(&store, &ChatStore::chatMoved, &store,
                         [note](int from, int to) { note(QStringLiteral("moved %1 %2").arg(from).arg(to)); });
        QObject::connect(&store, &ChatStore::chatChanged, &store,
                         [note](const QString& id) { note(QStringLiteral("changed ") + id); });
        QObject::connect(&store, &ChatStore::messageChanged, &store,
                         [note](const QString& chat, const QString& message) {
                             note(QStringLiteral("message %1 %2").arg(chat, message));
                         });
        QObject::connect(&store, &ChatStore::edited, &store, [note] { note(QStringLiteral("edited")); });
        QObject::connect(&store, &ChatStore::deletedByUser, &store, [note](const QList<RemovedChat>& chats) {
            QString line = QStringLiteral("deleted");
            for (const RemovedChat& chat : chats)
                line += QStringLiteral(" %1@%2").arg(chat.id).arg(chat.updatedAt, 0, 'f', 0);
            note(line);
        });
    }

    /// Claims and waits until the account's chats are there.
    void claim(const std::optional<QString>& owner) {
        store.claim(owner);
        store.finishLoading();
    }

    QString path(const QString& file) const { return folder.filePath(QStringLiteral("Chats/") + file); }
    void putFile(const QString& file, const QByteArray& bytes) { writeFile(path(file), bytes); }
    QByteArray fileContent(const QString& file) const { return contentOf(path(file)); }

    /// Lets \a time pass and the write that it starts come to its end.
    void pass(std::chrono::milliseconds time) {
        clock.advance(time);
        if (!waitUntil([this] { return !store.isSaving(); }))
            qFatal("a write does not end");
    }

    QStringList takeSignals() { return std::exchange(signals_, {}); }
    QStringList titles() const {
        QStringList all;
        for (int row = 0; row < store.count(); ++row)
            all.append(store.at(row).title);
        return all;
    }

    QTemporaryDir folder;
    ManualClock clock;
    ChatStore store{folder.filePath(QStringLiteral("Chats")), clock};

private:
    QStringList signals_;
};

} // namespace teskal::test
