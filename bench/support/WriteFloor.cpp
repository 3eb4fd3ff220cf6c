#include "WriteFloor.h"

#include <QFile>

#include <cstdio>
#include <stdexcept>

#include <unistd.h>

namespace teskal::bench {

void writeDurably(const QString& path, QByteArrayView bytes) {
    writeDurably(path, [bytes](const Put& put) { put(bytes); });
}

void writeDurably(const QString& path, const std::function<void(const Put&)>& produce) {
    const QString temporary = path + QStringLiteral(".tmp");
    QFile file(temporary);
    bool written = file.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    produce([&](QByteArrayView piece) {
        written = written && file.write(piece.data(), piece.size()) == piece.size();
    });
    written = written && fsync(file.handle()) == 0;
    file.close();
    if (!written || std::rename(qPrintable(temporary), qPrintable(path)) != 0)
        throw std::runtime_error("could not write " + path.toStdString());
}

} // namespace teskal::bench
