#pragma once

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <optional>

namespace teskal {

/// What a second start tells the running one, as one line of fields with tabs between them: what to do, the
/// token with which the desktop lets the window come to the front (may be empty), the link.
class InstanceMessage {
public:
    enum class Verb { Activate, NewChat, Quit, OpenLink };

    static InstanceMessage activate() { return InstanceMessage(Verb::Activate); }
    static InstanceMessage newChat() { return InstanceMessage(Verb::NewChat); }
    static InstanceMessage quit() { return InstanceMessage(Verb::Quit); }
    static InstanceMessage openLink(const QUrl& callbackLink);

    /// The line without its end; none when it is not well-formed.
    static std::optional<InstanceMessage> fromLine(const QByteArray& line);
    QByteArray toLine() const;

    Verb verb() const { return verb_; }
    /// Empty unless the message is to open one.
    const QUrl& callbackLink() const { return link_; }

    const QByteArray& activationToken() const { return token_; }
    /// A token that is no short printable word counts as none.
    void setActivationToken(const QByteArray& token);

private:
    explicit InstanceMessage(Verb verb) : verb_(verb) {}

    Verb verb_;
    QUrl link_;
    QByteArray token_;
};

/// Bytes of a line that is read at most, its end included; whoever sends more is cut off.
inline constexpr qint64 maxInstanceLine = 64 * 1024;

/// The local socket that belongs to \a lockFile: in the user's private runtime folder, which keeps its path
/// short enough for a socket.
QString instanceSocketPath(const QString& lockFile);

} // namespace teskal
