#pragma once

#include "FolderDocument.h"

#include <random>

namespace teskal::test {

/// Folder documents of few identifiers, names, times and numbers, so that nearly everything meets and ties.
/// Their lists are in no order and hold entries twice. The same seed gives the same documents.
class RandomDocuments {
public:
    /// \a nowMs is the time at which they are to be merged; some deletions are just over or under a year old.
    RandomDocuments(unsigned seed, double nowMs) : random_(seed), now_(nowMs) {}

    FolderDocument next();

private:
    int below(int limit) { return int(random_() % unsigned(limit)); }
    template<typename T>
    const T& anyOf(const QList<T>& list) {
        return list[below(int(list.size()))];
    }
    QString identifier();
    double time();
    Folder folder();
    FolderAssignment assignment();

    std::mt19937 random_;
    double now_;
};

/// A folder of these members.
Folder folderOf(const QString& id, const QString& name, double updatedAt, double order = 0);

} // namespace teskal::test
