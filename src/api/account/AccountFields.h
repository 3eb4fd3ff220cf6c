#pragma once

#include "APIKey.h"
#include "AccountSettings.h"
#include "Billing.h"
#include "PoolModel.h"
#include "RecordFields.h"

// The members of the account's records. For source files only.

namespace teskal {

template<>
struct RecordFields<Billing> {
    static constexpr auto list = std::tuple{
        requiredField("enabled", &Billing::enabled),
        optionalField("balance", &Billing::balance),
        optionalField("creditUsd", &Billing::creditUsd),
        optionalField("error", &Billing::error),
    };
};

template<>
struct RecordFields<APIKey> {
    static constexpr auto list = std::tuple{
        requiredField("id", &APIKey::id),
        requiredField("name", &APIKey::name),
        requiredField("prefix", &APIKey::prefix),
        requiredField("createdAt", &APIKey::createdAt),
        optionalField("revokedAt", &APIKey::revokedAt),
        optionalField("lastUsedAt", &APIKey::lastUsedAt),
    };
};

template<>
struct RecordFields<APIKeyList> {
    static constexpr auto list = std::tuple{
        requiredField("keys", &APIKeyList::keys),
        requiredField("enabled", &APIKeyList::enabled),
    };
};

template<>
struct RecordFields<NewAPIKey> {
    static constexpr auto list = std::tuple{
        optionalField("id", &NewAPIKey::id),
        optionalField("name", &NewAPIKey::name),
        requiredField("secret", &NewAPIKey::secret),
    };
};

template<>
struct RecordFields<Health> {
    static constexpr auto list = std::tuple{
        optionalField("samples", &Health::samples),
        optionalField("ttft", &Health::ttft),
        optionalField("errorRate", &Health::errorRate),
    };
};

template<>
struct RecordFields<PoolModel> {
    static constexpr auto list = std::tuple{
        requiredField("id", &PoolModel::id),
        requiredField("name", &PoolModel::name),
        optionalField("lab", &PoolModel::lab),
        optionalField("health", &PoolModel::health),
    };
};

template<>
struct RecordFields<AccountSettings> {
    static constexpr auto list = std::tuple{
        requiredField("anonymize", &AccountSettings::anonymize),
        requiredField("disabledModels", &AccountSettings::disabledModels),
    };
};

template<>
struct RecordFields<ModelOption> {
    static constexpr auto list = std::tuple{
        requiredField("id", &ModelOption::id),     requiredField("ids", &ModelOption::ids),
        requiredField("name", &ModelOption::name), optionalField("lab", &ModelOption::lab),
        requiredField("kind", &ModelOption::kind),
    };
};

template<>
struct RecordFields<SettingsReply> {
    static constexpr auto list = std::tuple{
        requiredField("settings", &SettingsReply::settings),
        requiredField("models", &SettingsReply::models),
        optionalField("anonymizeCredits", &SettingsReply::anonymizeCredits),
        optionalField("enabled", &SettingsReply::enabled),
    };
};

} // namespace teskal
