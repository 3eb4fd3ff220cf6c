#pragma once

#include "Keychain.h"

#include <memory>

namespace teskal {

/// Whether the session bus has a keyring that runs or can be started. A locked one is there.
bool isKeyringPresent();

/// The desktop's keyring under \a service, or, when there is none, the private file \a fallbackPath (one log
/// line says so). Decided once: a keyring that fails later is an error, not a reason to change over.
std::unique_ptr<Keychain> chooseKeychain(const QString& service, const QString& fallbackPath);
std::unique_ptr<Keychain> chooseKeychain(const QString& service, const QString& fallbackPath,
                                         bool keyringPresent);

/// The service name of the sign-in's items; \a storageSuffix as in Config.
QString keychainService(const QString& storageSuffix);

} // namespace teskal
