#pragma once

#include <QByteArray>
#include <QString>

/// Proof Key for Code Exchange (RFC 7636).
namespace teskal::pkce {

/// \a byteCount bytes from the system's secure random source as base64url without padding.
QString randomURLSafe(qsizetype byteCount);

/// The S256 challenge of \a verifier: 43 characters of base64url.
QString challenge(const QString& verifier);

} // namespace teskal::pkce
