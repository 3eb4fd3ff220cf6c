#pragma once

#include "FileSource.h"

#include <QHash>
#include <QStringList>

namespace teskal::test {

/// The page's stored files, as a test has laid them out; writes down what was asked for.
class FixedFiles final : public FileSource {
public:
    QCoro::Task<FileLookup> find(QString id, std::stop_token /*stop*/) override {
        asked.append(id);
        const auto file = files.constFind(id);
        return ready(file == files.constEnd() ? FileLookup(FileAbsence::Missing) : FileLookup(*file));
    }

    QHash<QString, PageFile> files;
    QStringList asked;

private:
    static QCoro::Task<FileLookup> ready(FileLookup found) { co_return found; }
};

} // namespace teskal::test
