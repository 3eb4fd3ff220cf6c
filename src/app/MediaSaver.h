#pragma once

#include "Completion.h"
#include "FileCache.h"
#include "Media.h"
#include "Scope.h"
#include "SerialWorker.h"

#include <QObject>

#include <functional>
#include <optional>

namespace teskal {

/// Asks the user where a file is to be saved, with a suggested name. The outcome is the chosen path, or none
/// when the user decided against it. The panel goes away when \a stop is set.
using SavePanel =
    std::function<Completion<std::optional<QString>>(const QString& suggestedName, std::stop_token stop)>;

/// Saves copies of generated media to places that the user picks. Main thread only; files are written beside
/// it.
class MediaSaver final : public QObject {
    Q_OBJECT

public:
    /// How a stored file is kept; none when it may not be had. Asked when the user has chosen the place, as
    /// much may have happened until then.
    using KeepRule = std::function<std::optional<FileCache::Keep>()>;

    /// \a files must outlive the saver.
    MediaSaver(FileCache& files, SavePanel panel, QObject* parent = nullptr);
    ~MediaSaver() override;

    /// Asks where to, then fetches and writes \a media: the stored file, or what the record itself holds
    /// when there is none to be had. Nothing while the user is being asked already.
    void save(const Media& media, KeepRule keep);
    /// Gives up what is under way, without a word, and closes the panel; a file that is being written is
    /// finished.
    void abandon() { scope_.cancelAll(); }

    /// The file name that is suggested for \a media.
    static QString suggestedName(const Media& media);

Q_SIGNALS:
    /// How a save ended, for the user.
    void notice(const QString& text);

private:
    QCoro::Task<void> askAndSave(Media media, KeepRule keep, std::stop_token stop);
    QCoro::Task<bool> copyTo(QString path, Media media, KeepRule keep, std::stop_token stop);
    QCoro::Task<std::optional<CachedFile>> stored(QString id, KeepRule keep, std::stop_token stop);

    FileCache& files_;
    SavePanel panel_;
    bool asking_ = false;
    SerialWorker worker_;
    Scope scope_; // last: its coroutines use the above
};

} // namespace teskal
