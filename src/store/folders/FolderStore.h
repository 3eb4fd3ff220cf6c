#pragma once

#include "FolderDocument.h"
#include "FolderExchange.h"
#include "SerialWorker.h"

#include <QHash>
#include <QObject>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

namespace teskal {

class FolderFile;

/// The signed-in account's folders and which chats are filed in them, in memory, on disk and in step with the
/// service. Main thread only.
class FolderStore final : public QObject {
    Q_OBJECT

public:
    /// \a folder holds the accounts' files; \a clock must outlive the store. \a random, uniform from 0 to
    /// below 1, spreads the retries after failures.
    FolderStore(QString folder, Clock& clock, std::function<double()> random, QObject* parent = nullptr);
    FolderStore(QString folder, Clock& clock, QObject* parent = nullptr);
    ~FolderStore() override;

    const std::optional<QString>& owner() const { return owner_; }
    /// Everything that is known, entries that are not shown included. Valid until the next change.
    const FolderDocument& document() const { return document_; }
    /// In the order in which they are shown. Valid until the next change.
    const QList<Folder>& folders() const { return document_.folders; }
    /// From each filed chat to its folder, which exists. Valid until the next change.
    const QHash<QString, QString>& filed() const { return filed_; }
    /// The identifier of the folder that the chat is filed in.
    std::optional<QString> folderFor(const QString& chatId) const;

    /// Switches to another account, or to none: what the previous one has unsaved is written and leaves the
    /// memory, the new one's file is read. Exchanges with the service go through \a api and start when asked
    /// for; without it the folders stay on this machine. The same owner again counts as a new sign-in.
    void claim(const std::optional<QString>& owner, std::optional<TeskalAPI> api);
    /// To be called after each successful sign-in of the same account: what stopped the exchange with the
    /// service (a refused token, a service without folders) counts no more, and one starts now.
    void resume();

    /// A new folder behind the others. Returns its identifier; none without an account, for a name that is
    /// blank, and when there are 200 folders already.
    std::optional<QString> create(const QString& name);
    /// A blank name changes nothing.
    void rename(const QString& id, const QString& name);
    /// Removes the folder; its chats stay, unfiled.
    void remove(const QString& id);
    /// Files the chats in a folder, or with none takes them out of theirs. An unknown folder changes nothing.
    void assign(const QStringList& chatIds, const std::optional<QString>& folderId);
    /// Takes chats that were deleted out of their folders; those that are in none need nothing.
    void unfile(const QStringList& chatIds);

    /// Asks for an exchange with the service after \a after, instead of one that waits already. Does nothing
    /// without an account, while the service refuses the sign-in and when it does not offer folders.
    void syncSoon(std::chrono::milliseconds after);
    /// Writes what changed since the last write and waits for it. A failure is logged and tried again by the
    /// next change and the next flush.
    void flush();

    const FolderExchange& exchange() const { return exchange_; }

Q_SIGNALS:
    /// A folder came or went, or has another name or place.
    void foldersChanged();
    /// A chat is filed in another folder, or no longer or newly in one.
    void filedChanged();
    /// A sentence for the user.
    void notice(const QString& text);

private:
    using Edit = std::function<bool(FolderDocument&, double nowMs)>;

    double nowMs() const;
    /// Applies \a edit, and when it says that it changed something, saves and syncs.
    void change(const Edit& edit);
    void absorb(const FolderDocument& other);
    /// Makes \a document the current one and tells the differences.
    void publish(FolderDocument document);
    void reindex();
    void scheduleSave();
    void save();

    QString folder_;
    Clock& clock_;
    std::optional<QString> owner_;
    std::shared_ptr<FolderFile> file_; ///< shared with writes under way
    FolderDocument document_;
    QHash<QString, QString> filed_;
    /// Of chats whose folder was removed here; the service may still hold their assignments.
    QHash<QString, double> removedFilings_;
    bool shownLimit_ = false;
    bool unsaved_ = false;
    std::unique_ptr<ClockTimer> saveTimer_;
    SerialWorker worker_;
    FolderExchange exchange_;
};

} // namespace teskal
