#include "ChatSearch.h"

#include "ByteSearch.h"
#include "ChatStore.h"
#include "Clock.h"
#include "FoldedText.h"

#include <QStringList>
#include <QtConcurrentMap>

#include <algorithm>
#include <functional>
#include <optional>
#include <vector>

namespace teskal {

namespace {

/// Characters that are folded in one go: a few milliseconds of work, after which a new query has its turn.
constexpr qsizetype foldedAtOnce = 500'000;
/// From the change of a chat that is searched to its new copy: an answer that grows changes many times.
constexpr std::chrono::milliseconds refoldDelay{300};

struct ChatTexts {
    QString id;
    QStringList texts; ///< title, then the messages

    qsizetype size() const {
        qsizetype size = 0;
        for (const QString& text : texts)
            size += text.size();
        return size;
    }
};

ChatTexts textsOf(const Chat& chat) {
    ChatTexts chatTexts{chat.id, {chat.title}};
    chatTexts.texts.reserve(chat.messages.size() + 1);
    for (const ChatMessage& message : chat.messages)
        chatTexts.texts.append(message.content);
    return chatTexts;
}

/// One copy of all texts, with a byte between them that no query holds.
QByteArray folded(const QStringList& texts) {
    QByteArray all;
    for (const QString& text : texts) {
        if (!all.isEmpty())
            all += '\0';
        all += foldedText(text);
    }
    all.squeeze();
    return all;
}

} // namespace

struct ChatSearch::Folding {
    QByteArray query;
    std::vector<ChatTexts> chats;
    FoldedTexts folded;
    QSet<QString> found;

    void run() {
        const ByteSearch search(query);
        for (const ChatTexts& chat : chats) {
            const QByteArray text = teskal::folded(chat.texts);
            if (!query.isEmpty() && search.isIn(text))
                found.insert(chat.id);
            folded.insert(chat.id, text);
        }
    }
};

struct ChatSearch::Searching {
    QByteArray query;
    FoldedTexts chats;
    /// Where the query can only be; all chats without it.
    std::optional<QSet<QString>> candidates;
    std::shared_ptr<std::atomic_bool> superseded;
    QSet<QString> found;

    struct Place {
        const QString* chat;
        const QByteArray* text;
        bool holdsQuery = false;
    };

    /// Reads as fast as the memory: every core takes the next chats as soon as it is free.
    void run() {
        std::vector<Place> places = placesToLookAt();
        const ByteSearch search(query);
        QtConcurrent::blockingMap(places, [this, &search](Place& place) {
            place.holdsQuery = !superseded->load(std::memory_order_relaxed) && search.isIn(*place.text);
        });
        for (const Place& place : places)
            if (place.holdsQuery)
                found.insert(*place.chat);
    }

    /// In the order in which they lie in memory: reading on is more than twice as fast as reading here and
    /// there.
    std::vector<Place> placesToLookAt() const {
        std::vector<Place> places;
        places.reserve(std::size_t(candidates ? candidates->size() : chats.size()));
        for (auto chat = chats.cbegin(); chat != chats.cend(); ++chat)
            if (!candidates || candidates->contains(chat.key()))
                places.push_back({&chat.key(), &chat.value()});
        std::sort(places.begin(), places.end(), [](const Place& one, const Place& other) {
            return std::less<>()(one.text->constData(), other.text->constData());
        });
        return places;
    }
};

ChatSearch::ChatSearch(const ChatStore& store, Clock& clock, QObject* parent)
    : QObject(parent), store_(store), clock_(clock) {
    connect(&store, &ChatStore::listReset, this, &ChatSearch::forgetAll);
    connect(&store, &ChatStore::newestLoaded, this, &ChatSearch::chatsLoaded);
    connect(&store, &ChatStore::loaded, this, &ChatSearch::chatsLoaded);
    connect(&store, &ChatStore::chatInserted, this, [this](int row) { chatChanged(store_.at(row).id); });
    connect(&store, &ChatStore::chatRemoved, this, [this](int, const QString& id) { chatGone(id); });
    connect(&store, &ChatStore::chatChanged, this, &ChatSearch::chatChanged);
    connect(&store, &ChatStore::messageChanged, this, &ChatSearch::chatChanged);
    forgetAll();
}

ChatSearch::~ChatSearch() {
    if (superseded_)
        *superseded_ = true;
}

bool ChatSearch::isComplete() const {
    return !searchDue_ && stale_.isEmpty() && !isWorking_ && !store_.isLoading();
}

void ChatSearch::prepare() {
    isWanted_ = true;
    work();
}

void ChatSearch::search(const QString& query) {
    const QString trimmed = query.trimmed();
    if (trimmed == query_)
        return;
    query_ = trimmed;
    foldedQuery_ = foldedText(trimmed);
    searchDue_ = isSearching();
    if (superseded_)
        *superseded_ = true;
    if (!isSearching()) {
        found_.clear();
        answeredQuery_.clear();
        refoldTimer_.reset();
    }
    Q_EMIT resultsChanged();
    if (isSearching())
        prepare();
}

void ChatSearch::forgetAll() {
    if (superseded_)
        *superseded_ = true;
    folded_.clear();
    found_.clear();
    answeredQuery_.clear();
    stale_.clear();
    for (int row = 0; row < store_.count(); ++row)
        stale_.insert(store_.at(row).id);
    searchDue_ = isSearching();
    Q_EMIT resultsChanged();
    if (isSearching())
        work();
}

void ChatSearch::chatsLoaded() {
    for (int row = 0; row < store_.count(); ++row)
        if (const QString& id = store_.at(row).id; !folded_.contains(id))
            stale_.insert(id);
    Q_EMIT resultsChanged();
    work();
}

void ChatSearch::chatChanged(const QString& id) {
    if (store_.isPrivate(id))
        return;
    stale_.insert(id);
    refoldSoon();
}

void ChatSearch::chatGone(const QString& id) {
    stale_.remove(id);
    folded_.remove(id);
    if (found_.remove(id))
        Q_EMIT resultsChanged();
}

void ChatSearch::refoldSoon() {
    if (!isSearching() || refoldTimer_)
        return;
    refoldTimer_ = clock_.after(refoldDelay, [this] {
        const auto over = std::move(refoldTimer_);
        work();
    });
}

void ChatSearch::work() {
    if (isWorking_ || !isWanted_)
        return;
    if (searchDue_)
        searchAll();
    else if (!stale_.isEmpty() && !refoldTimer_)
        foldSome();
}

void ChatSearch::foldSome() {
    const auto folding = std::make_shared<Folding>();
    folding->query = foldedQuery_;
    qsizetype size = 0;
    for (int row = 0; row < store_.count() && !stale_.isEmpty() && size < foldedAtOnce; ++row) {
        if (!stale_.remove(store_.at(row).id))
            continue;
        folding->chats.push_back(textsOf(store_.at(row)));
        size += folding->chats.back().size();
    }
    isWorking_ = true;
    worker_.run([folding] { folding->run(); }, [this, folding] { takeFolded(*folding); });
}

void ChatSearch::takeFolded(const Folding& folding) {
    isWorking_ = false;
    for (auto chat = folding.folded.cbegin(); chat != folding.folded.cend(); ++chat) {
        if (store_.rowOf(chat.key()) < 0)
            continue; // it went meanwhile
        folded_.insert(chat.key(), *chat);
        if (folding.found.contains(chat.key()))
            found_.insert(chat.key());
        else
            found_.remove(chat.key());
    }
    if (folding.query != answeredQuery_) {
        answeredQuery_.clear(); // what is found answers no query for these chats
        searchDue_ = isSearching();
    }
    if (isSearching())
        Q_EMIT resultsChanged();
    work();
}

void ChatSearch::searchAll() {
    searchDue_ = false;
    const auto searching = std::make_shared<Searching>();
    searching->query = foldedQuery_;
    superseded_ = searching->superseded = std::make_shared<std::atomic_bool>(false);
    // A longer query can only be where the shorter one was.
    const bool isNarrower = !answeredQuery_.isEmpty() && foldedQuery_.contains(answeredQuery_);
    if (isNarrower)
        searching->candidates = stale_.isEmpty() ? found_ : QSet<QString>(found_).unite(stale_);
    searching->chats = folded_;
    isWorking_ = true;
    worker_.run([searching] { searching->run(); }, [this, searching] { takeFound(*searching); });
}

void ChatSearch::takeFound(const Searching& searching) {
    isWorking_ = false;
    if (!searching.superseded->load() && searching.query == foldedQuery_) {
        found_ = searching.found;
        found_.removeIf([this](const QString& id) { return !folded_.contains(id); }); // gone meanwhile
        answeredQuery_ = searching.query;
        Q_EMIT resultsChanged();
    }
    work();
}

} // namespace teskal
