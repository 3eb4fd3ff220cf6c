#pragma once

#include "Chat.h"

#include <QHash>
#include <QSet>
#include <QStringList>

#include <optional>

namespace teskal::test {

/// Everything that was asked, and what may therefore stand where: each message belongs to one chat of one
/// account, holds nothing but what its own question brought, and never changes once its answer has ended.
/// Questions are of the kinds that ask() makes; each names its account and has a number of its own.
class Ledger {
public:
    /// Where a chat was seen.
    enum class Place { Memory, File, Service };

    /// The \a number-th question, which \a account asks; its kind follows from \a kind.
    static QString ask(int kind, int number, const QString& account);

    /// The chat's last two messages are a new question and the beginning of its answer.
    void asked(const QString& owner, const Chat& chat, bool isPrivate);
    /// The chat's last message is a new answer to the question before it.
    void askedAgain(const QString& owner, const Chat& chat);
    /// The chat may have this title from now on.
    void mayBeCalled(const QString& chatId, const QString& title) { titles_[chatId].insert(title); }
    /// What still arrives in this chat may end early, without an error.
    void interrupted(const Chat& chat);

    /// The owner of a chat, a question or a message; none for what is not known here.
    std::optional<QString> ownerOfChat(const QString& chatId) const { return valueOf(owners_, chatId); }
    std::optional<QString> ownerOfQuestion(const QString& question) const {
        return valueOf(askers_, question);
    }
    std::optional<QString> ownerOfJob(const QString& requestId) const { return valueOf(jobs_, requestId); }
    QString chatOf(const QString& messageId) const { return entries_.value(messageId).chatId; }

    /// Holds a chat that was seen among those of \a owner against what was asked.
    void check(const QString& owner, const Chat& chat, Place place);
    void checkMessage(const QString& owner, const QString& chatId, const ChatMessage& message);
    /// Notes a problem unless \a holds.
    void require(bool holds, const QString& problem);
    const QStringList& problems() const { return problems_; }

private:
    struct Entry {
        QString owner;
        QString chatId;
        QString question;
        Role role = Role::User;
    };
    struct Ended {
        QString content;
        std::optional<MessageError> error;
    };

    static std::optional<QString> valueOf(const QHash<QString, QString>& hash, const QString& key) {
        return hash.contains(key) ? std::optional(hash[key]) : std::nullopt;
    }
    void checkAnswer(const Entry& entry, const ChatMessage& message);
    void checkMedia(const Entry& entry, const ChatMessage& message);
    void checkEnded(const Entry& entry, const ChatMessage& message);
    void note(const ChatMessage& message, const Entry& entry);

    QHash<QString, Entry> entries_;        ///< by message
    QHash<QString, QString> owners_;       ///< by chat
    QHash<QString, QString> askers_;       ///< by question
    QHash<QString, QSet<QString>> titles_; ///< by chat
    QHash<QString, Ended> ended_;          ///< by message
    QHash<QString, QString> jobs_;         ///< by request identifier: the owner
    QHash<QString, QString> files_;        ///< by file: its message
    QSet<QString> private_;                ///< chats
    QSet<QString> interrupted_;            ///< messages
    QStringList problems_;
};

} // namespace teskal::test
