#pragma once

#include "SerialWorker.h"

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>

#include <atomic>
#include <memory>

namespace teskal {

class ChatStore;
class Clock;
class ClockTimer;

/// Finds the saved chats whose title or messages hold a text. Works on folded copies of the texts, made when
/// a search is first prepared and made again for chats that changed; folding and searching happen beside the
/// main thread, so that typing never waits. Main thread only.
class ChatSearch final : public QObject {
    Q_OBJECT

public:
    /// Both must outlive the search.
    ChatSearch(const ChatStore& store, Clock& clock, QObject* parent = nullptr);
    ~ChatSearch() override;

    /// The user is about to search: begins to fold what is not folded yet.
    void prepare();
    /// Looks for \a query without the white space around it; nothing left ends the search.
    void search(const QString& query);
    /// What is looked for, trimmed; empty while nothing is.
    const QString& query() const { return query_; }
    bool isSearching() const { return !query_.isEmpty(); }
    /// Whether the chat is known to hold the query.
    bool isFound(const QString& chatId) const { return found_.contains(chatId); }
    /// Whether every chat has been looked at for the query.
    bool isComplete() const;

Q_SIGNALS:
    /// The query, what is found, or isComplete() changed.
    void resultsChanged();

private:
    /// By chat; copies share their texts.
    using FoldedTexts = QHash<QString, QByteArray>;
    struct Folding;
    struct Searching;

    void forgetAll();
    void chatsLoaded();
    void chatChanged(const QString& id);
    void chatGone(const QString& id);
    void refoldSoon();
    void work();
    void foldSome();
    void takeFolded(const Folding& folding);
    void searchAll();
    void takeFound(const Searching& searching);

    const ChatStore& store_;
    Clock& clock_;
    QString query_;
    QByteArray foldedQuery_;
    /// The query that found_ answers for every chat that is not stale.
    QByteArray answeredQuery_;
    QSet<QString> found_;
    FoldedTexts folded_;
    QSet<QString> stale_; ///< not folded, or changed since
    bool isWanted_ = false;
    bool isWorking_ = false;
    bool searchDue_ = false;
    std::shared_ptr<std::atomic_bool> superseded_; ///< told to the search under way
    std::unique_ptr<ClockTimer> refoldTimer_;
    SerialWorker worker_;
};

} // namespace teskal
