#pragma once

#include "SidebarSection.h"
#include "sidebar/DateGrouping.h"

#include <QHash>
#include <QSet>

#include <functional>
#include <memory>

namespace teskal {

class ChatSearch;
class ChatStore;
class Clock;
class ClockTimer;
class FolderStore;
struct Chat;

/// The sidebar's rows: folders with their chats, then the other chats by age; while a search is on, only what
/// it finds. Follows the stores with exact row changes; what changes many rows at once, as a search does, is
/// a reset. A streamed answer changes no row. Chats change their groups at midnight. Main thread only.
class SidebarModel final : public SidebarRows {
    Q_OBJECT

public:
    /// What takes the place of rows.
    enum class Emptiness { None, NoChats, NoMatches };

    struct Sources {
        const ChatStore& store;
        const FolderStore& folders;
        const ChatSearch& search;
        Clock& clock;
        std::function<bool(const QString& chatId)> isAnswering;
    };

    /// All of \a sources must outlive this object.
    explicit SidebarModel(Sources sources, QObject* parent = nullptr);
    ~SidebarModel() override;

    /// The folders whose chats are not shown. A search shows those it finds nevertheless.
    [[nodiscard]] const QSet<QString>& collapsed() const { return collapsed_; }
    void setCollapsed(const QSet<QString>& folderIds);
    /// The user opened or closed a folder; during a search that is not kept.
    void setFolderOpen(const QString& folderId, bool open);

    [[nodiscard]] Emptiness emptiness() const { return emptiness_; }
    /// What the rows were searched for; empty when they are all.
    [[nodiscard]] const QString& shownQuery() const { return shownQuery_; }

    /// Whether an answer is being produced for the chat has changed.
    void updateAnswering(const QString& chatId);
    /// The time or its zone may have made a jump.
    void refreshDates();

    [[nodiscard]] QModelIndex chatIndex(const QString& chatId) const override;
    [[nodiscard]] QList<FolderName> folderNames() const override;
    [[nodiscard]] QString folderOf(const QString& chatId) const override;

    [[nodiscard]] QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    [[nodiscard]] QModelIndex parent(const QModelIndex& index) const override;
    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    /// Screen readers meet the one column even though its header is hidden.
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;

Q_SIGNALS:
    void collapsedChanged();
    /// emptiness() or shownQuery() is another.
    void emptinessChanged();

private:
    void follow();
    [[nodiscard]] bool isShown(const QString& chatId) const;
    [[nodiscard]] SidebarSections wanted() const;
    /// Makes the rows those of \a sections, unless they are the same and no \a reset is needed.
    void adopt(SidebarSections sections, bool reset);
    void reload() { adopt(wanted(), true); }
    /// Rows for chats that have come, many at once: those that are there stay as they are, with what the user
    /// does to them.
    void fillIn();
    void fillSection(SidebarSection& section, const QStringList& chats);

    /// Puts the chat where it belongs, or takes it out of the rows.
    void place(const QString& chatId);
    void placeAll(const QStringList& chatIds);
    void insertChat(SidebarSection& section, const QString& chatId);
    void takeChat(SidebarSection& section, const QString& chatId);
    void moveWithin(SidebarSection& section, const QString& chatId);
    void moveBetween(SidebarSection& from, SidebarSection& to, const QString& chatId);
    /// Where the chat belongs among the others of the section.
    [[nodiscard]] int placeIn(const SidebarSection& section, const QString& chatId) const;
    SidebarSection& sectionFor(const Chat& chat);
    [[nodiscard]] SidebarSection* folderSection(const QString& folderId) const;
    SidebarSection& insertSection(int row, std::unique_ptr<SidebarSection> section);
    void removeSection(SidebarSection& section);
    /// The section has got or lost a chat.
    void tidy(SidebarSection& section);
    void setHint(SidebarSection& section, bool hint);
    void renumber();

    void chatChanged(const QString& chatId);
    void moveIfOlderOrNewer(const QString& chatId);
    void updateFolders();
    void updateFiled();
    void searchChanged();
    void showSearch();
    void updateEmptiness();
    void waitForNextDay();

    [[nodiscard]] QModelIndex indexOf(const SidebarSection& section) const;
    [[nodiscard]] QVariant sectionData(const SidebarSection& section, int role) const;
    [[nodiscard]] QVariant chatData(const QString& chatId, int role) const;
    [[nodiscard]] DateGrouping datesNow() const;
    [[nodiscard]] DateGrouping::Group groupOf(const QString& chatId) const;

    Sources sources_;
    DateGrouping dates_;
    SidebarSections sections_;
    QHash<QString, SidebarSection*> sectionOf_; ///< of each chat that is shown
    QSet<QString> collapsed_;
    QString shownQuery_;
    Emptiness emptiness_ = Emptiness::None;
    bool searchQueued_ = false;
    std::unique_ptr<ClockTimer> searchTimer_;
    std::unique_ptr<ClockTimer> dayTimer_;
};

} // namespace teskal
