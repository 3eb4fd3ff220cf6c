#include "DesktopEntry.h"

#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace teskal {

namespace {

constexpr qint64 largestFile = 256 * 1024;

/// Undoes what the file format itself escapes, before the quoting of the key's value counts.
QString unescaped(const QString& value) {
    QString text;
    for (qsizetype i = 0; i < value.size(); ++i) {
        if (value[i] == QLatin1Char('\\') && i + 1 < value.size()) {
            const QChar escape = value[++i];
            text += escape == QLatin1Char('s') ? QLatin1Char(' ') : escape;
        } else {
            text += value[i];
        }
    }
    return text;
}

/// The first argument of the command line \a exec.
QString firstArgument(const QString& exec) {
    QString argument;
    const bool isQuoted = exec.startsWith(QLatin1Char('"'));
    for (qsizetype i = isQuoted ? 1 : 0; i < exec.size(); ++i) {
        if (exec[i] == QLatin1Char(isQuoted ? '"' : ' '))
            break;
        if (isQuoted && exec[i] == QLatin1Char('\\') && i + 1 < exec.size())
            ++i;
        argument += exec[i];
    }
    return argument;
}

} // namespace

std::optional<DesktopEntry> DesktopEntry::installed(const QString& fileName) {
    const QString path = QStandardPaths::locate(QStandardPaths::ApplicationsLocation, fileName);
    QFile file(path);
    if (path.isEmpty() || !file.open(QFile::ReadOnly))
        return std::nullopt;
    return parse(file.read(largestFile));
}

std::optional<DesktopEntry> DesktopEntry::parse(const QByteArray& content) {
    bool isInMainGroup = false;
    const QStringList lines = QString::fromUtf8(content).split(QLatin1Char('\n'));
    for (const QString& line : lines) {
        if (line.startsWith(QLatin1Char('[')))
            isInMainGroup = line.trimmed() == QLatin1String("[Desktop Entry]");
        const qsizetype equals = line.indexOf(QLatin1Char('='));
        if (!isInMainGroup || line.left(equals).trimmed() != QLatin1String("Exec"))
            continue;
        const QString program = firstArgument(unescaped(line.mid(equals + 1).trimmed()));
        return program.isEmpty() ? std::nullopt : std::optional(DesktopEntry(program));
    }
    return std::nullopt;
}

bool DesktopEntry::starts(const QString& path) const {
    const QString found =
        QFileInfo(program_).isAbsolute() ? program_ : QStandardPaths::findExecutable(program_);
    const QString file = QFileInfo(found).canonicalFilePath();
    return !file.isEmpty() && file == QFileInfo(path).canonicalFilePath();
}

} // namespace teskal
