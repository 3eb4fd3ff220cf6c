#include "Ledger.h"

namespace teskal::test {

namespace {

/// What the local service answers to a question.
struct Kind {
    const char* question; ///< with number and account
    const char* begin;    ///< of the answer, with the question
    const char* end;      ///< of a whole answer; none when it never is whole
};

const char* const thoughts = "what I can show you.\n";
constexpr Kind kinds[] = {
    {"is %1 prime, asks %2", "You wrote:\n\n> %1\n\n", thoughts},
    {"is %1 prime, asks %2", "You wrote:\n\n> %1\n\n", thoughts},
    {"is %1 prime, asks %2", "You wrote:\n\n> %1\n\n", thoughts},
    {"is %1 prime, asks %2", "You wrote:\n\n> %1\n\n", thoughts},
    {"cut %1, asks %2", "This answer starts well and then, in the middle of a ", nullptr},
    {"cut error %1, asks %2", "This answer starts well and then, in the middle of a ", nullptr},
    {"error busy %1, asks %2", "", nullptr},
    {"empty %1, asks %2", " \n", nullptr},
    {"draw %1, asks %2", "", ""},
    {"video %1, asks %2", "", ""},
    {"song %1, asks %2", "", ""},
    {"broken song %1, asks %2", "", ""},
};

const Kind& kindOf(const QString& question) {
    const Kind* found = &kinds[0];
    for (const Kind& kind : kinds) {
        const QString words = QString::fromLatin1(kind.question).section(u" %1"_qs, 0, 0);
        const bool fits = question.startsWith(words + u' ');
        if (fits && words.size() >= QString::fromLatin1(found->question).indexOf(u" %1"_qs))
            found = &kind;
    }
    return *found;
}

QString beginOf(const QString& question) {
    const QString begin = QString::fromLatin1(kindOf(question).begin);
    return begin.contains(u"%1"_qs) ? begin.arg(question) : begin;
}

/// The service's title of a chat that begins with \a question.
QSet<QString> titlesFor(const QString& question) {
    QString title = question;
    title[0] = title[0].toUpper();
    return {question, title, u"A cut answer"_qs, u"No answer"_qs, u"Private chat"_qs};
}

QString quoted(const QString& text) {
    return u'"' + text + u'"';
}

const char* nameOf(Ledger::Place place) {
    return place == Ledger::Place::Memory ? "in memory" : place == Ledger::Place::File ? "in a file" : "far";
}

} // namespace

QString Ledger::ask(int kind, int number, const QString& account) {
    return QString::fromLatin1(kinds[std::size_t(kind) % std::size(kinds)].question).arg(number).arg(account);
}

void Ledger::require(bool holds, const QString& problem) {
    if (!holds)
        problems_.append(problem);
}

void Ledger::note(const ChatMessage& message, const Entry& entry) {
    require(!entries_.contains(message.id), u"a new message has an old identifier"_qs);
    entries_.insert(message.id, entry);
}

void Ledger::asked(const QString& owner, const Chat& chat, bool isPrivate) {
    if (chat.messages.size() < 2)
        return require(false, u"a question was not added"_qs);
    const ChatMessage& question = chat.messages[chat.messages.size() - 2];
    if (!owners_.contains(chat.id)) {
        owners_.insert(chat.id, owner);
        titles_[chat.id] += titlesFor(question.content);
        if (isPrivate)
            private_.insert(chat.id);
    }
    askers_.insert(question.content, owner);
    note(question, {owner, chat.id, question.content, Role::User});
    note(chat.messages.last(), {owner, chat.id, question.content, Role::Assistant});
}

void Ledger::askedAgain(const QString& owner, const Chat& chat) {
    if (chat.messages.size() < 2)
        return require(false, u"an answer was not begun again"_qs);
    const QString question = chat.messages[chat.messages.size() - 2].content;
    note(chat.messages.last(), {owner, chat.id, question, Role::Assistant});
}

void Ledger::interrupted(const Chat& chat) {
    for (const ChatMessage& message : chat.messages)
        if (message.pending)
            interrupted_.insert(message.id);
}

void Ledger::check(const QString& owner, const Chat& chat, Place place) {
    const QString where = u"chat %1 (%2): "_qs.arg(chat.id, QLatin1String(nameOf(place)));
    const bool isNew = !owners_.contains(chat.id) && chat.messages.isEmpty();
    require(isNew || owners_.value(chat.id) == owner, where + u"is another account's"_qs);
    require(isNew || titles_.value(chat.id).contains(chat.title),
            where + u"is called "_qs + quoted(chat.title));
    require(place == Place::Memory || !private_.contains(chat.id), where + u"is private"_qs);
    int pending = 0;
    for (const ChatMessage& message : chat.messages) {
        checkMessage(owner, chat.id, message);
        pending += message.pending ? 1 : 0;
    }
    require(pending <= 1 && (pending == 0 || chat.messages.last().pending),
            where + u"more than its last answer is pending"_qs);
}

void Ledger::checkMessage(const QString& owner, const QString& chatId, const ChatMessage& message) {
    const auto found = entries_.constFind(message.id);
    if (found == entries_.cend())
        return require(false, u"an unknown message: "_qs + quoted(message.content.left(80)));
    const Entry& entry = *found;
    const QString what = u"message %1 of "_qs.arg(message.id) + quoted(entry.question);
    require(entry.owner == owner, what + u" is another account's"_qs);
    require(entry.chatId == chatId, what + u" is in another chat"_qs);
    require(entry.role == message.role, what + u" has another role"_qs);
    if (entry.role == Role::User)
        require(message.content == entry.question && !message.pending && !message.error && !message.media,
                what + u": the question is another: "_qs + quoted(message.content));
    else
        checkAnswer(entry, message);
}

void Ledger::checkAnswer(const Entry& entry, const ChatMessage& message) {
    const QString begin = beginOf(entry.question);
    const bool fits = message.content.startsWith(begin) || begin.startsWith(message.content);
    const bool once = message.content.count(u"You wrote:") <= 1;
    require(fits && once && (!begin.isEmpty() || message.content.isEmpty()),
            quoted(entry.question) + u" has the answer "_qs + quoted(message.content));
    if (message.media)
        checkMedia(entry, message);
    if (!message.pending)
        checkEnded(entry, message);
}

void Ledger::checkMedia(const Entry& entry, const ChatMessage& message) {
    require(message.media->prompt == entry.question, quoted(entry.question) + u" has what was made for "_qs +
                                                         quoted(message.media->prompt.value_or(QString())));
    if (const auto job = message.media->requestId)
        jobs_.insert(*job, entry.owner);
    if (const auto file = message.media->fileId) {
        const QString owner = *files_.insert(*file, files_.value(*file, message.id));
        require(owner == message.id, quoted(entry.question) + u" has another's file"_qs);
    }
}

void Ledger::checkEnded(const Entry& entry, const ChatMessage& message) {
    const char* end = kindOf(entry.question).end;
    const bool isWhole =
        end && *end ? message.content.endsWith(QLatin1String(end)) : message.media.has_value();
    require(message.error || isWhole || interrupted_.contains(message.id),
            quoted(entry.question) + u" ends early: "_qs + quoted(message.content));
    const auto known = ended_.constFind(message.id);
    if (known == ended_.cend()) {
        ended_.insert(message.id, {message.content, message.error});
        return;
    }
    require(known->content == message.content && known->error == message.error,
            quoted(entry.question) + u" changed after its end, from "_qs + quoted(known->content) +
                u" to "_qs + quoted(message.content) + u", error "_qs +
                (message.error ? message.error->message : u"none"_qs));
}

} // namespace teskal::test
