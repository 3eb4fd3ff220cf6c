#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>

namespace teskal {

/// What a second start tells the running one: one line, "activate" or "link <URL>".
class InstanceMessage {
public:
    static InstanceMessage activate() { return {}; }
    static InstanceMessage link(const QUrl& callbackLink);

    /// The line without its end; none when it is neither of the two.
    static std::optional<InstanceMessage> fromLine(const QByteArray& line);
    QByteArray toLine() const;

    /// None means "activate".
    const std::optional<QUrl>& callbackLink() const { return link_; }

private:
    std::optional<QUrl> link_;
};

/// Bytes of a line that is read at most, its end included; whoever sends more is cut off.
inline constexpr qint64 maxInstanceLine = 64 * 1024;

/// The local socket that belongs to \a lockFile: in the user's private runtime folder, which keeps its path
/// short enough for a socket.
QString instanceSocketPath(const QString& lockFile);

} // namespace teskal
