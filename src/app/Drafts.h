#pragma once

#include "DraftFile.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>

#include <functional>
#include <optional>

namespace teskal {

/// What the user has written and attached for the next message of each chat, in memory only. A slot is the
/// identifier of a chat, or empty for the message that begins one. Main thread only.
class Drafts final : public QObject {
    Q_OBJECT

public:
    struct Draft {
        QString text;
        QList<DraftFile> files;
    };

    explicit Drafts(QObject* parent = nullptr);

    /// Valid until the next change, like all of the below.
    const QString& text(const QString& slot) const { return draft(slot).text; }
    const QList<DraftFile>& files(const QString& slot) const { return draft(slot).files; }
    bool isPreparing(const QString& slot) const;

    void setText(const QString& slot, const QString& text);
    /// Adds words that were spoken behind what is written; blank ones add nothing.
    void addWords(const QString& slot, const QString& words);

    /// Whether the message may have another file; those that are still being prepared count.
    bool hasRoom(const QString& slot) const;
    /// Adds a file that is being prepared.
    void addFile(const QString& slot, quint64 number, const QString& name);
    /// The file, if it is still wanted, is this.
    void fileReady(quint64 number, const Attachment& attachment);
    void removeFile(quint64 number);

    /// Empties the slot and returns what it held; files that are still being prepared are not waited for.
    Draft take(const QString& slot);
    /// What is in the slot \a from is in \a to from now on, which must be empty.
    void move(const QString& from, const QString& to);
    /// Drops the slots that are not \a wanted any more.
    void keepOnly(const std::function<bool(const QString& slot)>& wanted);
    void clear();

Q_SIGNALS:
    void textChanged(const QString& slot);
    void filesChanged(const QString& slot);
    /// The slot was emptied as a whole, by take() or because it is gone.
    void dropped(const QString& slot);
    void moved(const QString& from, const QString& to);
    /// A file that was being prepared is not wanted any more.
    void abandoned(quint64 number);

private:
    const Draft& draft(const QString& slot) const;
    /// The slot of the file; none when it is gone.
    std::optional<QString> slotOf(quint64 number) const;

    QHash<QString, Draft> drafts_;
};

} // namespace teskal
