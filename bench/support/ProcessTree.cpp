#include "ProcessTree.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QMultiHash>

namespace teskal::bench {

namespace {

struct Process {
    QByteArray name;
    qint64 parent = 0;
};

/// Reads /proc/<id>/stat; the name stands in parentheses and may hold some itself.
Process readProcess(const QString& id) {
    QFile file(QStringLiteral("/proc/%1/stat").arg(id));
    if (!file.open(QIODevice::ReadOnly))
        return {}; // ended meanwhile
    const QByteArray line = file.readAll();
    const qsizetype open = line.indexOf('(');
    const qsizetype close = line.lastIndexOf(')');
    const QList<QByteArray> rest = line.mid(close + 2).split(' ');
    return {line.mid(open + 1, close - open - 1), rest.value(1).toLongLong()};
}

/// From each process to the ones that it has started, without the local service.
QMultiHash<qint64, qint64> readChildren() {
    QMultiHash<qint64, qint64> children;
    for (const QString& id : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
        bool isProcess = false;
        const qint64 number = id.toLongLong(&isProcess);
        if (!isProcess)
            continue;
        const Process process = readProcess(id);
        if (!process.name.startsWith("teskal-local")) // the kernel keeps 15 bytes of a name
            children.insert(process.parent, number);
    }
    return children;
}

} // namespace

QList<qint64> helperProcesses() {
    const QMultiHash<qint64, qint64> children = readChildren();
    QList<qint64> found = children.values(QCoreApplication::applicationPid());
    for (qsizetype i = 0; i < found.size(); ++i)
        found += children.values(found[i]);
    return found;
}

} // namespace teskal::bench
