#include "SidebarModel.h"

#include "ChatSearch.h"
#include "ChatStore.h"
#include "Clock.h"
#include "FolderStore.h"

#include <algorithm>

namespace teskal {

namespace {

/// More rows than these are not moved one by one.
constexpr qsizetype fewChats = 64;
/// While a search is under way its hits come in lots; the rows follow no faster than this.
constexpr std::chrono::milliseconds searchPace{60};
/// A machine that slept, or whose clock was set, is noticed after this time.
constexpr double longestWaitMs = 60'000;

bool isSame(const SidebarSections& one, const SidebarSections& other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(), [](const auto& a, const auto& b) {
        return a->kind == b->kind && a->id == b->id && a->title == b->title && a->hint == b->hint &&
               a->chats == b->chats;
    });
}

} // namespace

SidebarModel::SidebarModel(Sources sources, QObject* parent)
    : SidebarRows(parent), sources_(std::move(sources)), dates_(datesNow()),
      shownQuery_(sources_.search.query()) {
    follow();
    reload();
    waitForNextDay();
}

SidebarModel::~SidebarModel() = default;

void SidebarModel::follow() {
    const ChatStore& store = sources_.store;
    connect(&store, &ChatStore::listReset, this, &SidebarModel::reload);
    connect(&store, &ChatStore::newestLoaded, this, &SidebarModel::fillIn);
    connect(&store, &ChatStore::loaded, this, &SidebarModel::fillIn);
    connect(&store, &ChatStore::chatInserted, this, [this](int row) { place(sources_.store.at(row).id); });
    connect(&store, &ChatStore::chatRemoved, this, [this](int, const QString& id) { place(id); });
    connect(&store, &ChatStore::chatMoved, this, [this](int, int to) { place(sources_.store.at(to).id); });
    connect(&store, &ChatStore::chatChanged, this, &SidebarModel::chatChanged);
    connect(&store, &ChatStore::messageChanged, this, &SidebarModel::moveIfOlderOrNewer);
    connect(&sources_.folders, &FolderStore::foldersChanged, this, &SidebarModel::updateFolders);
    connect(&sources_.folders, &FolderStore::filedChanged, this, &SidebarModel::updateFiled);
    connect(&sources_.search, &ChatSearch::resultsChanged, this, &SidebarModel::searchChanged);
}

DateGrouping SidebarModel::datesNow() const {
    return {sources_.clock.nowMs(), QTimeZone::systemTimeZone(), QLocale()};
}

bool SidebarModel::isShown(const QString& chatId) const {
    return sources_.store.rowOf(chatId) >= 0 && (shownQuery_.isEmpty() || sources_.search.isFound(chatId));
}

SidebarSections SidebarModel::wanted() const {
    const bool searching = !shownQuery_.isEmpty();
    const QHash<QString, QString>& filed = sources_.folders.filed();
    SidebarSections sections;
    QHash<QString, SidebarSection*> folders;
    for (const Folder& folder : sources_.folders.folders()) {
        sections.push_back(std::make_unique<SidebarSection>(
            SidebarSection{SidebarKind::Folder, folder.id, folder.name, 0, {}, false, 0}));
        folders.insert(folder.id, sections.back().get());
    }
    SidebarSection* group = nullptr;
    for (int row = 0; row < sources_.store.count(); ++row) {
        const Chat& chat = sources_.store.at(row);
        if (searching && !sources_.search.isFound(chat.id))
            continue;
        SidebarSection* section = folders.value(filed.value(chat.id), nullptr);
        if (!section) {
            if (!group || chat.updatedAt < group->begin) {
                const DateGrouping::Group dates = dates_.groupOf(chat.updatedAt);
                sections.push_back(std::make_unique<SidebarSection>(
                    SidebarSection{SidebarKind::DateGroup, {}, dates.title, dates.begin, {}, false, 0}));
                group = sections.back().get();
            }
            section = group;
        }
        section->chats.append(chat.id);
    }
    if (searching)
        std::erase_if(sections, [](const auto& section) { return section->chats.isEmpty(); });
    for (const auto& section : sections)
        section->hint = section->chats.isEmpty();
    return sections;
}

void SidebarModel::adopt(SidebarSections sections, bool reset) {
    if (!reset && isSame(sections, sections_)) {
        for (std::size_t row = 0; row < sections.size(); ++row)
            sections_[row]->begin = sections[row]->begin;
        updateEmptiness();
        return;
    }
    beginResetModel();
    sections_ = std::move(sections);
    sectionOf_.clear();
    for (const auto& section : sections_) {
        for (const QString& id : section->chats)
            sectionOf_.insert(id, section.get());
    }
    renumber();
    endResetModel();
    updateEmptiness();
}

void SidebarModel::fillIn() {
    if (!shownQuery_.isEmpty())
        return updateEmptiness(); // the search follows the chats, and the rows the search
    SidebarSections all = wanted();
    for (std::size_t row = 0; row < all.size(); ++row) {
        // What is there is in the same order: with what comes before it, it has its place.
        const bool isThere = row < sections_.size() && sections_[row]->kind == all[row]->kind &&
                             sections_[row]->id == all[row]->id && sections_[row]->title == all[row]->title;
        const QStringList chats = std::exchange(all[row]->chats, {});
        if (!isThere)
            insertSection(int(row), std::move(all[row]));
        fillSection(*sections_[row], chats);
    }
    updateEmptiness();
}

void SidebarModel::fillSection(SidebarSection& section, const QStringList& chats) {
    if (section.chats.size() == chats.size())
        return;
    setHint(section, false);
    for (qsizetype row = 0; row < chats.size(); ++row) {
        const bool isAtEnd = row == section.chats.size();
        if (!isAtEnd && section.chats[row] == chats[row])
            continue;
        const qsizetype end = isAtEnd ? chats.size() : chats.indexOf(section.chats[row], row);
        beginInsertRows(indexOf(section), int(row), int(end) - 1);
        section.chats = chats.first(end) + section.chats.sliced(row);
        for (; row < end; ++row)
            sectionOf_.insert(chats[row], &section);
        endInsertRows();
    }
    tidy(section);
}

void SidebarModel::renumber() {
    for (std::size_t row = 0; row < sections_.size(); ++row)
        sections_[row]->row = int(row);
}

void SidebarModel::place(const QString& chatId) {
    SidebarSection* const from = sectionOf_.value(chatId, nullptr);
    if (!isShown(chatId)) {
        if (from)
            takeChat(*from, chatId);
    } else {
        SidebarSection& to = sectionFor(*sources_.store.chat(chatId));
        if (!from)
            insertChat(to, chatId);
        else if (from == &to)
            moveWithin(to, chatId);
        else
            moveBetween(*from, to, chatId);
    }
    updateEmptiness();
}

void SidebarModel::placeAll(const QStringList& chatIds) {
    if (chatIds.size() > fewChats)
        return adopt(wanted(), false);
    for (const QString& id : chatIds)
        place(id);
}

int SidebarModel::placeIn(const SidebarSection& section, const QString& chatId) const {
    const int row = sources_.store.rowOf(chatId);
    const auto isBefore = [&](const QString& other) { return sources_.store.rowOf(other) < row; };
    const qsizetype own = sectionOf_.value(chatId, nullptr) == &section ? section.chats.indexOf(chatId) : -1;
    const auto begin = section.chats.cbegin();
    // Its own old place tells nothing: the others are in order on either side of it.
    if (own < 0)
        return int(std::partition_point(begin, section.chats.cend(), isBefore) - begin);
    const auto before = std::partition_point(begin, begin + own, isBefore);
    if (before != begin + own)
        return int(before - begin);
    return int(std::partition_point(begin + own + 1, section.chats.cend(), isBefore) - begin) - 1;
}

void SidebarModel::insertChat(SidebarSection& section, const QString& chatId) {
    setHint(section, false);
    const int row = placeIn(section, chatId);
    beginInsertRows(indexOf(section), row, row);
    section.chats.insert(row, chatId);
    sectionOf_.insert(chatId, &section);
    endInsertRows();
    tidy(section);
}

void SidebarModel::takeChat(SidebarSection& section, const QString& chatId) {
    const int row = int(section.chats.indexOf(chatId));
    beginRemoveRows(indexOf(section), row, row);
    section.chats.removeAt(row);
    sectionOf_.remove(chatId);
    endRemoveRows();
    tidy(section);
}

void SidebarModel::moveWithin(SidebarSection& section, const QString& chatId) {
    const int from = int(section.chats.indexOf(chatId));
    const int to = placeIn(section, chatId);
    if (from == to)
        return;
    // Qt names the row before which the moved one is put, counted before the move.
    const QModelIndex parent = indexOf(section);
    beginMoveRows(parent, from, from, parent, to > from ? to + 1 : to);
    section.chats.move(from, to);
    endMoveRows();
}

void SidebarModel::moveBetween(SidebarSection& from, SidebarSection& to, const QString& chatId) {
    setHint(to, false);
    const int row = int(from.chats.indexOf(chatId));
    const int place = placeIn(to, chatId);
    beginMoveRows(indexOf(from), row, row, indexOf(to), place);
    from.chats.removeAt(row);
    to.chats.insert(place, chatId);
    sectionOf_.insert(chatId, &to);
    endMoveRows();
    tidy(to);
    tidy(from);
}

SidebarSection* SidebarModel::folderSection(const QString& folderId) const {
    const auto found = std::find_if(sections_.begin(), sections_.end(), [&](const auto& section) {
        return section->isFolder() && section->id == folderId;
    });
    return found != sections_.end() ? found->get() : nullptr;
}

SidebarSection& SidebarModel::sectionFor(const Chat& chat) {
    const QList<Folder>& folders = sources_.folders.folders();
    const auto folder = std::find_if(folders.begin(), folders.end(), [&](const Folder& candidate) {
        return candidate.id == sources_.folders.filed().value(chat.id);
    });
    if (folder != folders.end()) {
        if (SidebarSection* known = folderSection(folder->id))
            return *known;
        const auto before = std::count_if(folders.begin(), folder, [this](const Folder& other) {
            return folderSection(other.id) != nullptr;
        });
        return insertSection(
            int(before), std::make_unique<SidebarSection>(
                             SidebarSection{SidebarKind::Folder, folder->id, folder->name, 0, {}, false, 0}));
    }
    const DateGrouping::Group group = dates_.groupOf(chat.updatedAt);
    const auto place = std::find_if(sections_.begin(), sections_.end(), [&](const auto& section) {
        return !section->isFolder() && section->begin <= group.begin;
    });
    if (place != sections_.end() && (*place)->title == group.title)
        return **place;
    return insertSection(int(place - sections_.begin()),
                         std::make_unique<SidebarSection>(SidebarSection{
                             SidebarKind::DateGroup, {}, group.title, group.begin, {}, false, 0}));
}

SidebarSection& SidebarModel::insertSection(int row, std::unique_ptr<SidebarSection> section) {
    beginInsertRows({}, row, row);
    SidebarSection& inserted = **sections_.insert(sections_.begin() + row, std::move(section));
    renumber();
    endInsertRows();
    return inserted;
}

void SidebarModel::removeSection(SidebarSection& section) {
    const int row = section.row;
    beginRemoveRows({}, row, row);
    const auto kept = std::move(sections_[std::size_t(row)]); // the views still point at it
    sections_.erase(sections_.begin() + row);
    renumber();
    endRemoveRows();
}

void SidebarModel::tidy(SidebarSection& section) {
    if (section.chats.isEmpty() && (!section.isFolder() || !shownQuery_.isEmpty()))
        return removeSection(section);
    setHint(section, section.chats.isEmpty());
    if (section.isFolder())
        Q_EMIT dataChanged(indexOf(section), indexOf(section),
                           {SidebarCountRole, Qt::AccessibleDescriptionRole});
}

void SidebarModel::setHint(SidebarSection& section, bool hint) {
    if (section.hint == hint)
        return;
    if (hint)
        beginInsertRows(indexOf(section), 0, 0);
    else
        beginRemoveRows(indexOf(section), 0, 0);
    section.hint = hint;
    if (hint)
        endInsertRows();
    else
        endRemoveRows();
}

void SidebarModel::chatChanged(const QString& chatId) {
    moveIfOlderOrNewer(chatId);
    if (const QModelIndex index = chatIndex(chatId); index.isValid())
        Q_EMIT dataChanged(index, index, {Qt::DisplayRole, Qt::EditRole, Qt::AccessibleTextRole});
}

void SidebarModel::moveIfOlderOrNewer(const QString& chatId) {
    const SidebarSection* section = sectionOf_.value(chatId, nullptr);
    if (!section || section->isFolder())
        return;
    if (groupOf(chatId).title != section->title)
        place(chatId);
}

DateGrouping::Group SidebarModel::groupOf(const QString& chatId) const {
    return dates_.groupOf(sources_.store.chat(chatId)->updatedAt);
}

void SidebarModel::updateFolders() {
    if (!shownQuery_.isEmpty())
        return adopt(wanted(), false);
    updateFiled(); // so that folders that are gone are empty
    const QList<Folder>& folders = sources_.folders.folders();
    for (std::size_t row = sections_.size(); row-- > 0;) {
        SidebarSection& section = *sections_[row];
        const auto isThis = [&section](const Folder& folder) { return folder.id == section.id; };
        if (section.isFolder() && std::none_of(folders.begin(), folders.end(), isThis))
            removeSection(section);
    }
    for (int row = 0; row < folders.size(); ++row) {
        const Folder& folder = folders[row];
        SidebarSection* section = folderSection(folder.id);
        if (!section) {
            setHint(insertSection(row, std::make_unique<SidebarSection>(SidebarSection{
                                           SidebarKind::Folder, folder.id, folder.name, 0, {}, false, 0})),
                    true);
            continue;
        }
        if (section->row != row) { // those before are in their places, so it comes from behind
            beginMoveRows({}, section->row, section->row, {}, row);
            std::rotate(sections_.begin() + row, sections_.begin() + section->row,
                        sections_.begin() + section->row + 1);
            renumber();
            endMoveRows();
        }
        if (section->title != folder.name) {
            section->title = folder.name;
            Q_EMIT dataChanged(indexOf(*section), indexOf(*section));
        }
    }
    updateFiled();
}

void SidebarModel::updateFiled() {
    const QHash<QString, QString>& filed = sources_.folders.filed();
    QStringList misplaced;
    for (auto it = sectionOf_.cbegin(); it != sectionOf_.cend(); ++it) {
        if (filed.value(it.key()) != it.value()->id)
            misplaced.append(it.key());
    }
    placeAll(misplaced);
}

void SidebarModel::refreshDates() {
    dates_ = datesNow();
    QStringList misplaced;
    for (const auto& section : sections_) {
        if (section->isFolder())
            continue;
        // They are in the order of times: all are still of this group when the first and the last are.
        const DateGrouping::Group newest = groupOf(section->chats.constFirst());
        const DateGrouping::Group oldest = groupOf(section->chats.constLast());
        if (newest.title == section->title)
            section->begin = newest.begin;
        else if (oldest.title == section->title)
            section->begin = oldest.begin;
        if (newest.title == section->title && oldest.title == section->title)
            continue;
        for (const QString& id : std::as_const(section->chats)) {
            if (groupOf(id).title != section->title)
                misplaced.append(id);
        }
    }
    placeAll(misplaced);
    waitForNextDay();
}

void SidebarModel::waitForNextDay() {
    const double wait = std::clamp(dates_.nextMidnight() - sources_.clock.nowMs(), 1.0, longestWaitMs);
    dayTimer_ = sources_.clock.after(std::chrono::milliseconds(qint64(wait)), [this] {
        const auto over = std::move(dayTimer_);
        refreshDates();
    });
}

void SidebarModel::searchChanged() {
    if (sources_.search.isSearching() && !sources_.search.isComplete()) {
        if (!searchTimer_) {
            searchTimer_ = sources_.clock.after(searchPace, [this] {
                const auto over = std::move(searchTimer_);
                showSearch();
            });
        }
        return;
    }
    searchTimer_.reset();
    if (!std::exchange(searchQueued_, true))
        QMetaObject::invokeMethod(this, &SidebarModel::showSearch, Qt::QueuedConnection);
}

void SidebarModel::showSearch() {
    searchQueued_ = false;
    const bool wasSearching = !shownQuery_.isEmpty();
    const bool isOther = shownQuery_ != sources_.search.query();
    shownQuery_ = sources_.search.query();
    adopt(wanted(), wasSearching == shownQuery_.isEmpty());
    if (isOther && emptiness_ == Emptiness::NoMatches)
        Q_EMIT emptinessChanged();
}

void SidebarModel::updateEmptiness() {
    Emptiness now = Emptiness::None;
    if (sources_.store.isLoading())
        now = Emptiness::None;
    else if (sources_.store.count() == 0)
        now = Emptiness::NoChats;
    else if (!shownQuery_.isEmpty() && sections_.empty() &&
             (sources_.search.isComplete() || emptiness_ == Emptiness::NoMatches))
        now = Emptiness::NoMatches;
    if (now == emptiness_)
        return;
    emptiness_ = now;
    Q_EMIT emptinessChanged();
}

void SidebarModel::setCollapsed(const QSet<QString>& folderIds) {
    if (collapsed_ == folderIds)
        return;
    collapsed_ = folderIds;
    Q_EMIT collapsedChanged();
    if (!sections_.empty())
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, 0), {SidebarOpenRole});
}

void SidebarModel::setFolderOpen(const QString& folderId, bool open) {
    if (!shownQuery_.isEmpty() || open != collapsed_.contains(folderId))
        return;
    if (open)
        collapsed_.remove(folderId);
    else
        collapsed_.insert(folderId);
    Q_EMIT collapsedChanged();
}

void SidebarModel::updateAnswering(const QString& chatId) {
    if (const QModelIndex index = chatIndex(chatId); index.isValid())
        Q_EMIT dataChanged(index, index, {SidebarAnsweringRole, Qt::AccessibleTextRole});
}

} // namespace teskal
