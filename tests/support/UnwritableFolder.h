#pragma once

#include <QDir>
#include <QFile>
#include <QString>

namespace teskal::test {

/// Makes a folder a file for as long as it lives: nothing can be written below it, not even by root.
class UnwritableFolder {
public:
    explicit UnwritableFolder(const QString& folder)
        : folder_(QDir::cleanPath(folder)), moved_(folder_ + u".moved"_qs) {
        QFile inTheWay(folder_);
        if (!QDir().rename(folder_, moved_) || !inTheWay.open(QFile::WriteOnly))
            qFatal("the test cannot block its folder");
    }
    ~UnwritableFolder() {
        if (!QFile::remove(folder_) || !QDir().rename(moved_, folder_))
            qFatal("the test cannot free its folder");
    }
    UnwritableFolder(const UnwritableFolder&) = delete;
    UnwritableFolder& operator=(const UnwritableFolder&) = delete;

private:
    QString folder_;
    QString moved_;
};

} // namespace teskal::test
