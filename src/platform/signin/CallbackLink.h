#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>

namespace teskal {

/// Longest link that is taken from outside, in UTF-16 units; real ones have a few hundred.
inline constexpr qsizetype maxCallbackLinkLength = 8192;

/// \a text, trimmed, as a link that the provider sends the user back with; none when it is anything else.
std::optional<QUrl> callbackLinkFrom(const QString& text);

/// The first callback link among \a arguments of a start; none when there is none.
std::optional<QUrl> callbackLinkIn(const QStringList& arguments);

/// Whether the web may be shown at \a url during a sign-in.
bool isWebPage(const QUrl& url);

} // namespace teskal
