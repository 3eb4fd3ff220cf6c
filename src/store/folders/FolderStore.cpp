#include "FolderStore.h"

#include "AtomicFile.h"
#include "Clock.h"
#include "FileError.h"
#include "FolderEdits.h"
#include "FolderFile.h"
#include "FolderMerge.h"
#include "FolderName.h"
#include "IDs.h"
#include "Log.h"

#include <QRandomGenerator>
#include <QSet>

#include <algorithm>
#include <cmath>

namespace teskal {

namespace {

constexpr qsizetype maxFolders = 200;
constexpr std::chrono::milliseconds saveDelay{600};
constexpr std::chrono::milliseconds syncDelay{800};

/// What became of a write on the worker's thread.
struct Written {
    std::optional<QString> keptDamaged; ///< the name under which the damaged file is kept
    QString error;                      ///< empty when it was written
};

bool looksSame(const QList<Folder>& a, const QList<Folder>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const Folder& x, const Folder& y) {
        return x.id == y.id && x.name == y.name && x.order == y.order;
    });
}

} // namespace

FolderStore::FolderStore(QString folder, Clock& clock, std::function<double()> random, QObject* parent)
    : QObject(parent), folder_(std::move(folder)), clock_(clock),
      exchange_(clock, {.document = [this] { return document_; },
                        .absorb = [this](const FolderDocument& other) { absorb(other); },
                        .notice = [this](const QString& text) { Q_EMIT notice(text); },
                        .random = std::move(random)}) {}

FolderStore::FolderStore(QString folder, Clock& clock, QObject* parent)
    : FolderStore(
          std::move(folder), clock, [] { return QRandomGenerator::global()->generateDouble(); }, parent) {}

FolderStore::~FolderStore() = default;

std::optional<QString> FolderStore::folderFor(const QString& chatId) const {
    const auto it = filed_.constFind(chatId);
    return it == filed_.cend() ? std::nullopt : std::optional(*it);
}

double FolderStore::nowMs() const {
    return std::round(clock_.nowMs() + exchange_.skewMs());
}

// Accounts

void FolderStore::claim(const std::optional<QString>& owner, std::optional<TeskalAPI> api) {
    exchange_.begin(std::move(api));
    if (owner == owner_) {
        exchange_.soon(std::chrono::milliseconds(0));
        return;
    }
    flush();
    owner_ = owner;
    file_.reset();
    saveTimer_.reset();
    unsaved_ = false;
    shownLimit_ = false;
    removedFilings_.clear();
    FolderDocument document;
    if (owner_) {
        file_ = std::make_shared<FolderFile>(folder_, *owner_);
        const FolderDocument loaded = file_->read();
        document = merged({loaded}, nowMs());
        if (document != loaded)
            scheduleSave();
    }
    publish(std::move(document));
}

void FolderStore::resume() {
    exchange_.resume();
}

// Changes

void FolderStore::change(const Edit& edit) {
    FolderDocument document = document_;
    if (!owner_ || !edit(document, nowMs()))
        return;
    scheduleSave();
    syncSoon(syncDelay);
    publish(std::move(document));
}

std::optional<QString> FolderStore::create(const QString& name) {
    const QString cleaned = cleanFolderName(name);
    if (!owner_ || cleaned.isEmpty())
        return std::nullopt;
    if (folders().size() >= maxFolders) {
        if (!std::exchange(shownLimit_, true))
            Q_EMIT notice(QStringLiteral("You can have up to 200 folders."));
        return std::nullopt;
    }
    QString id = IDs::make();
    change([&](FolderDocument& document, double now) {
        addFolder(document, id, cleaned, now);
        return true;
    });
    return id;
}

void FolderStore::rename(const QString& id, const QString& name) {
    const QString cleaned = cleanFolderName(name);
    if (!cleaned.isEmpty())
        change(
            [&](FolderDocument& document, double now) { return renameFolder(document, id, cleaned, now); });
}

void FolderStore::remove(const QString& id) {
    change([&](FolderDocument& document, double now) {
        return removeFolder(document, id, now, removedFilings_);
    });
}

void FolderStore::assign(const QStringList& chatIds, const std::optional<QString>& folderId) {
    change([&](FolderDocument& document, double now) {
        return assignChats(document, chatIds, folderId, now, removedFilings_);
    });
}

void FolderStore::unfile(const QStringList& chatIds) {
    change([&](FolderDocument& document, double now) { return unfileChats(document, chatIds, now); });
}

void FolderStore::syncSoon(std::chrono::milliseconds after) {
    exchange_.soon(after);
}

void FolderStore::absorb(const FolderDocument& other) {
    FolderDocument both = merged({document_, other}, nowMs());
    if (both == document_)
        return;
    scheduleSave();
    publish(std::move(both));
}

void FolderStore::publish(FolderDocument document) {
    const QList<Folder> folders = document_.folders;
    const QHash<QString, QString> filed = filed_;
    document_ = std::move(document);
    reindex();
    const bool othersFiled = filed != filed_;
    if (!looksSame(folders, document_.folders))
        Q_EMIT foldersChanged();
    if (othersFiled)
        Q_EMIT filedChanged();
}

void FolderStore::reindex() {
    QSet<QString> existing;
    for (const Folder& folder : document_.folders)
        existing.insert(folder.id);
    QHash<QString, QString> filed;
    filed.reserve(document_.assignments.size());
    for (const FolderAssignment& assignment : document_.assignments)
        if (assignment.folderId && existing.contains(*assignment.folderId))
            filed.insert(assignment.chatId, *assignment.folderId);
    filed_ = std::move(filed);
}

// The file

void FolderStore::scheduleSave() {
    unsaved_ = true;
    saveTimer_ = clock_.after(saveDelay, [this] { save(); });
}

void FolderStore::save() {
    saveTimer_.reset();
    unsaved_ = false; // what changes from now on needs a write of its own
    auto written = std::make_shared<Written>();
    worker_.run(
        [file = file_, document = document_, now = clock_.nowMs(), written] {
            try {
                written->keptDamaged = file->keepDamaged(now);
                file->write(document);
            } catch (const FileError& error) {
                written->error = error.text();
            }
        },
        [this, written] {
            if (written->keptDamaged)
                logDamagedFile(*written->keptDamaged);
            if (written->error.isEmpty())
                return;
            unsaved_ = true;
            logLine(QStringLiteral("could not save folders: ") + written->error);
        });
}

void FolderStore::flush() {
    worker_.finish(); // a write that fails is due again
    if (!owner_ || !unsaved_)
        return;
    save();
    worker_.finish();
}

} // namespace teskal
