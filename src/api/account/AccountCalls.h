#pragma once

#include "APIKey.h"
#include "AccountSettings.h"
#include "Billing.h"
#include "PoolModel.h"

#include <QCoroTask>
#include <QUrl>

#include <optional>
#include <stop_token>

namespace teskal {

class TeskalAPI;

// Credits, keys, settings and models of the account. Calls throw as TeskalAPI says, and JsonError for a reply
// that does not decode.

/// \a fresh asks the service to look anew instead of telling what it last knew.
QCoro::Task<Billing> billingCall(TeskalAPI api, bool fresh, std::stop_token stop);
/// The page on which \a credits are bought. APIError 502 when the service gives none.
QCoro::Task<QUrl> checkoutCall(TeskalAPI api, int credits, std::stop_token stop);

QCoro::Task<APIKeyList> listKeysCall(TeskalAPI api, std::stop_token stop);
QCoro::Task<NewAPIKey> createKeyCall(TeskalAPI api, QString name, std::stop_token stop);
QCoro::Task<void> revokeKeyCall(TeskalAPI api, QString id, std::stop_token stop);

QCoro::Task<QList<PoolModel>> poolCall(TeskalAPI api, std::stop_token stop);

QCoro::Task<SettingsReply> settingsCall(TeskalAPI api, std::stop_token stop);
/// Changes what is given and returns the settings as they are stored then.
QCoro::Task<AccountSettings> saveSettingsCall(TeskalAPI api, std::optional<bool> anonymize,
                                              std::optional<QStringList> disabledModels,
                                              std::stop_token stop);

} // namespace teskal
