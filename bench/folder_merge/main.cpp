// Merging the folders of a large account: 200 folders, and 20,000 chats filed, on both sides.

#include "Comparison.h"
#include "FolderMerge.h"
#include "FolderStore.h"
#include "ManualClock.h"
#include "Measure.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <random>

using namespace teskal;
using namespace teskal::bench;

namespace {

constexpr int runs = 21;
constexpr int folderCount = 200;
constexpr int chatCount = 20'000;
constexpr double aimMs = 20;
constexpr double now = 1.8e12;

/// Texts in memory of their own.
QString identifier(std::mt19937& random) {
    static const QString letters = QStringLiteral("abcdefghijklmnopqrstuvwxyz0123456789");
    QString id;
    for (int i = 0; i < 12; ++i)
        id += letters[qsizetype(random() % 36)];
    return id;
}

FolderDocument generate() {
    std::mt19937 random(20240601);
    FolderDocument document;
    for (int i = 0; i < folderCount; ++i) {
        Folder folder;
        folder.id = identifier(random);
        folder.name = QStringLiteral("Folder number %1").arg(i);
        folder.order = i;
        folder.createdAt = now - i * 1e6;
        folder.updatedAt = folder.createdAt;
        document.folders.append(folder);
    }
    for (int i = 0; i < chatCount; ++i) {
        FolderAssignment assignment;
        assignment.chatId = identifier(random);
        assignment.folderId = document.folders[i % folderCount].id;
        assignment.updatedAt = now - i;
        document.assignments.append(assignment);
    }
    return merged({document}, now);
}

/// Every third chat was filed elsewhere, later.
FolderDocument changed(FolderDocument document) {
    for (qsizetype i = 0; i < document.assignments.size(); i += 3) {
        document.assignments[i].folderId = document.folders[i % folderCount].id;
        document.assignments[i].updatedAt += 1e6;
    }
    return document;
}

/// Everything was changed in the same millisecond on both sides.
FolderDocument tied(FolderDocument document) {
    for (Folder& folder : document.folders)
        folder.name += QLatin1Char('!');
    for (FolderAssignment& assignment : document.assignments)
        assignment.folderId.reset();
    return document;
}

FolderDocument shuffled(FolderDocument document) {
    std::mt19937 random(7);
    std::shuffle(document.folders.begin(), document.folders.end(), random);
    std::shuffle(document.assignments.begin(), document.assignments.end(), random);
    return document;
}

/// What no merge can avoid: looks at the key of every entry and copies it.
FolderDocument copyAndHash(const QList<FolderDocument>& documents) {
    FolderDocument copy;
    std::size_t hash = 0;
    for (const FolderDocument& document : documents) {
        copy.folders.reserve(copy.folders.size() + document.folders.size());
        for (const Folder& folder : document.folders) {
            hash ^= qHash(folder.id);
            copy.folders.append(folder);
        }
        copy.assignments.reserve(copy.assignments.size() + document.assignments.size());
        for (const FolderAssignment& assignment : document.assignments) {
            hash ^= qHash(assignment.chatId);
            copy.assignments.append(assignment);
        }
    }
    copy.deleted.insert(QString(), double(hash));
    return copy;
}

Comparison measureMerge(const char* what, const FolderDocument& here, const FolderDocument& there) {
    const QList<FolderDocument> documents{here, there};
    const auto [floor, ours] = mediansByTurns(
        runs, [&] { return copyAndHash(documents); }, [&] { return merged(documents, now); });
    return {QString::fromLatin1(what), QStringLiteral("copy and hash every entry"), floor, ours, 0, 0};
}

/// Filing one chat, with all that follows on the main thread: index, signals, timers.
Comparison measureFiling(const FolderDocument& document) {
    QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("a.folders.json")));
    const QByteArray json = encodeFolderDocument(document);
    if (!file.open(QFile::WriteOnly) || file.write(json) != json.size())
        return {};
    file.close();
    ManualClock clock(now);
    FolderStore store(folder.path(), clock);
    store.claim(QStringLiteral("a"), std::nullopt);
    const QString chat = document.assignments.first().chatId;
    int turn = 0;
    const auto [floor, ours] = mediansByTurns(
        runs, [&] { return copyAndHash({document}); },
        [&] {
            store.assign({chat}, document.folders[++turn % folderCount].id);
            return turn;
        });
    return {QStringLiteral("file one chat (FolderStore)"),
            QStringLiteral("copy and hash every entry once"),
            floor,
            ours,
            0,
            0};
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const FolderDocument here = generate();
    const FolderDocument there = decodeFolderDocument(encodeFolderDocument(here)); // shares no text
    const QList<Comparison> lines{
        measureMerge("merge, nothing differs", here, there),
        measureMerge("merge, a third is newer there", here, changed(there)),
        measureMerge("merge, all tied", here, tied(there)),
        measureMerge("merge, in no order there", here, shuffled(there)),
        measureFiling(here),
    };
    std::printf("%-34s %-32s %9s %9s %7s\n", "what", "against", "floor ms", "ours ms", "ratio");
    bool met = true;
    for (const Comparison& line : lines) {
        std::printf("%-34s %-32s %9.2f %9.2f %7.2f   < %.0f ms %s\n", qPrintable(line.what),
                    qPrintable(line.against), line.againstMs, line.oursMs, line.oursMs / line.againstMs,
                    aimMs, line.oursMs < aimMs ? "met" : "MISSED");
        met = met && line.oursMs < aimMs && line.oursMs > 0;
    }
    std::printf("\n%d folders and %d assignments on each side, median of %d runs by turns.\n", folderCount,
                chatCount, runs);
    return met ? 0 : 1;
}
