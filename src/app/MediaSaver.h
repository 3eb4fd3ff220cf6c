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
/// when the user decided against it.
using SavePanel = std::function<Completion<std::optional<QString>>(const QString& suggestedName)>;

/// Saves copies of generated media to places that the user picks. Main thread only; files are written beside
/// it.
class MediaSaver final : public QObject {
    Q_OBJECT

public:
    /// \a files must outlive the saver.
    MediaSaver(FileCache& files, SavePanel panel, QObject* parent = nullptr);
    ~MediaSaver() override;

    /// Asks where to, then fetches and writes \a media. Nothing while the user is being asked already.
    void save(const Media& media, FileCache::Keep keep);
    /// Gives up what is under way, without a word; a file that is being written is finished.
    void abandon() { scope_.cancelAll(); }

    /// The file name that is suggested for \a media.
    static QString suggestedName(const Media& media);

Q_SIGNALS:
    /// How a save ended, for the user.
    void notice(const QString& text);

private:
    QCoro::Task<void> askAndSave(Media media, FileCache::Keep keep, std::stop_token stop);
    QCoro::Task<bool> copyTo(QString path, Media media, FileCache::Keep keep, std::stop_token stop);

    FileCache& files_;
    SavePanel panel_;
    bool asking_ = false;
    SerialWorker worker_;
    Scope scope_; // last: its coroutines use the above
};

} // namespace teskal
