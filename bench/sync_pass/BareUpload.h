#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

namespace teskal::bench {

/// Puts \a bodies to \a url one after the other, as a plain loop over the network library does. Throws
/// std::runtime_error when one is refused.
void putAll(const QUrl& url, const QString& accessToken, const QList<QByteArray>& bodies);

} // namespace teskal::bench
