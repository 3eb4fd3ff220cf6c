#pragma once

#include "ChatStore.h"
#include "ManualClock.h"
#include "TestFiles.h"
#include "WaitUntil.h"

#include <QStringList>
#include <QTemporaryDir>

namespace teskal::test {

inline const QString account = u"account1"_qs;
inline const QString accountFile = u"account1.json"_qs;

using Touch = ChatStore::Touch;
using Save = ChatStore::Save;

/// A store over a folder of its own on a clock that stands still, and what its signals said.
class StoreFixture {
public:
    StoreFixture() {
        note(&ChatStore::listReset, [] { return u"reset"_qs; });
        note(&ChatStore::loaded, [] { return u"loaded"_qs; });
        note(&ChatStore::chatInserted, [](int row) { return u"inserted %1"_qs.arg(row); });
        note(&ChatStore::chatRemoved,
             [](int row, const QString& id) { return u"removed %1 %2"_qs.arg(row).arg(id); });
        note(&ChatStore::chatMoved, [](int from, int to) { return u"moved %1 %2"_qs.arg(from).arg(to); });
        note(&ChatStore::chatChanged, [](const QString& id) { return u"changed "_qs + id; });
        note(&ChatStore::messageChanged,
             [](const QString& chat, const QString& id) { return u"message %1 %2"_qs.arg(chat, id); });
        note(&ChatStore::edited, [] { return u"edited"_qs; });
        note(&ChatStore::deletedByUser, [](const QList<RemovedChat>& chats) {
            QString line = u"deleted"_qs;
            for (const RemovedChat& chat : chats)
                line += u" %1@%2"_qs.arg(chat.id).arg(chat.updatedAt, 0, 'f', 0);
            return line;
        });
    }
    /// With the chats of an account, which are those of \a file unless that is empty.
    explicit StoreFixture(const QString& owner, const QByteArray& file = {}) : StoreFixture() {
        if (!file.isEmpty())
            putFile(owner + u".json"_qs, file);
        claim(owner);
    }

    /// Claims and waits until the account's chats are there.
    void claim(const std::optional<QString>& owner) {
        store.claim(owner);
        store.finishLoading();
    }

    QString path(const QString& file) const { return folder.filePath(u"Chats/"_qs + file); }
    void putFile(const QString& file, const QByteArray& bytes) { writeFile(path(file), bytes); }
    QByteArray fileContent(const QString& file = accountFile) const { return contentOf(path(file)); }
    /// The names that fit, in alphabetical order.
    QStringList files(const QString& pattern = u"*"_qs) const {
        return QDir(path(QString())).entryList({pattern}, QDir::Files, QDir::Name);
    }

    /// Lets \a time pass and the write that it starts come to its end.
    void pass(std::chrono::milliseconds time) {
        clock.advance(time);
        if (!waitUntil([this] { return !store.isSaving(); }))
            qFatal("a write does not end");
    }

    /// In their order, since the last time: "moved 2 0, edited".
    QString takeSignals() { return std::exchange(signals_, {}).join(u", "); }
    /// In the order of the list: "one two".
    QString titles() const {
        QStringList all;
        for (int row = 0; row < store.count(); ++row)
            all.append(store.at(row).title);
        return all.join(u' ');
    }

    QTemporaryDir folder;
    ManualClock clock;
    ChatStore store{folder.filePath(u"Chats"_qs), clock};

private:
    template<typename Signal, typename Line>
    void note(Signal signal, Line line) {
        QObject::connect(&store, signal, &store,
                         [this, line](auto&&... values) { signals_.append(line(values...)); });
    }

    QStringList signals_;
};

/// Adds an answer to a chat, as if nothing had happened to the chat.
inline void addMessage(ChatStore& store, const QString& chat, const QString& id, const QString& content = {},
                       bool pending = false) {
    store.update(chat, Touch::No, Save::No, [&](Chat& changed) {
        changed.messages.append({id, Role::Assistant, content, {}, {}, {}, pending, {}, {}});
    });
}

/// Gives a chat another title, as if nothing had happened to it.
inline void retitle(ChatStore& store, const QString& chat, const QString& title, Save save = Save::Yes) {
    store.update(chat, Touch::No, save, [&](Chat& changed) { changed.title = title; });
}

} // namespace teskal::test
