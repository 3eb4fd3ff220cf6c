#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace teskal {

/// The program that a desktop file starts, as far as the application needs to know it.
/// Source: Desktop Entry Specification 1.5, "The Exec key".
class DesktopEntry {
public:
    /// The desktop file of this name that the desktop uses: the first in the user's and the system's
    /// "applications" folders. None when there is none that can be read.
    static std::optional<DesktopEntry> installed(const QString& fileName);
    /// None when \a content names no program.
    static std::optional<DesktopEntry> parse(const QByteArray& content);

    /// As it stands in the file: a path, or a name to be looked up in the path.
    const QString& program() const { return program_; }
    /// Whether that is the file \a path, links followed.
    bool starts(const QString& path) const;

private:
    explicit DesktopEntry(QString program) : program_(std::move(program)) {}

    QString program_;
};

} // namespace teskal
