#include "SettingsStore.h"

#include "Cancelled.h"
#include "DisabledModels.h"
#include "JsonError.h"

namespace teskal {

namespace {

/// What the user reads of the failure that is being handled. Passes on what is none of theirs.
QString failureText() {
    try {
        throw;
    } catch (const JsonError&) {
        return QStringLiteral("Teskal sent something this app doesn’t understand yet. Update the app.");
    } catch (const Error& error) {
        return error.text();
    }
}

} // namespace

SettingsStore::SettingsStore(QObject* parent) : QObject(parent) {}

void SettingsStore::claim(const std::optional<QString>& owner, std::optional<TeskalAPI> api) {
    api_ = std::move(api);
    if (owner == owner_)
        return;
    owner_ = owner;
    scope_ = std::make_unique<Scope>(); // ends what is under way
    saving_ = false;
    saves_.clear();
    confirmed_.reset();
    publish(State());
}

/// Takes over \a next and tells what is different. Last in its callers: those who are told may do anything.
void SettingsStore::publish(State next) {
    const State old = std::exchange(state_, std::move(next));
    const State now = state_;
    if (old.settings != now.settings || old.anonymizeCredits != now.anonymizeCredits ||
        old.enabled != now.enabled)
        Q_EMIT settingsChanged();
    if (old.models != now.models)
        Q_EMIT modelsChanged();
    if (old.loading != now.loading)
        Q_EMIT loadingChanged();
    if (old.error != now.error)
        Q_EMIT errorChanged();
}

void SettingsStore::load() {
    if (!api_ || state_.loading)
        return;
    State next = state_;
    next.loading = true;
    publish(std::move(next));
    if (state_.loading) // whoever was told may have changed the account
        scope_->launch([this](std::stop_token stop) { return runLoad(std::move(stop)); });
}

/// Throws when the account's client was taken away, as it is when nobody is signed in any more.
TeskalAPI SettingsStore::client() const {
    if (!api_)
        throw APIError::from(401, {});
    return *api_;
}

QCoro::Task<void> SettingsStore::runLoad(std::stop_token stop) {
    const quint64 storedBefore = stored_;
    std::optional<SettingsReply> reply;
    QString failure;
    try {
        const TeskalAPI api = client();
        auto loading = api.settings(stop);
        reply = co_await loading;
    } catch (const Error&) {
        failure = failureText();
    } catch (const Cancelled&) {
        if (stop.stop_requested())
            throw; // otherwise the other side went away, which ends this load alone
    }
    if (reply) {
        finishLoad(*reply, storedBefore);
        co_return;
    }
    State next = state_;
    next.loading = false;
    next.error = failure;
    publish(std::move(next));
}

void SettingsStore::finishLoad(const SettingsReply& reply, quint64 storedBefore) {
    State next = state_;
    next.loading = false;
    if (saves_.isEmpty()) {
        next.models = reply.models;
        next.anonymizeCredits = reply.anonymizeCredits;
        next.enabled = reply.enabled.value_or(true);
        next.error.clear();
        // A choice that was stored meanwhile may be newer than what was asked for before it.
        if (storedBefore == stored_) {
            next.settings = reply.settings;
            confirmed_ = reply.settings;
        }
    }
    publish(std::move(next));
}

bool SettingsStore::isOn(const ModelOption& model) const {
    return !state_.settings || isModelOn(state_.settings->disabledModels, model);
}

void SettingsStore::set(const ModelOption& model, bool on) {
    if (!state_.settings)
        return;
    AccountSettings next = *state_.settings;
    next.disabledModels = toggled(next.disabledModels, model, on);
    save(next);
}

void SettingsStore::setAnonymize(bool on) {
    if (!state_.settings)
        return;
    AccountSettings next = *state_.settings;
    next.anonymize = on;
    save(next);
}

void SettingsStore::dismissError() {
    State next = state_;
    next.error.clear();
    publish(std::move(next));
}

/// Shows \a settings and sends them, behind the saves before.
void SettingsStore::save(const AccountSettings& settings) {
    if (!api_ || settings == state_.settings)
        return;
    saves_.enqueue(settings);
    State next = state_;
    next.settings = settings;
    publish(std::move(next));
    if (saves_.isEmpty() || saving_)
        return;
    saving_ = true; // before the launch, which may come as far as to those who change something again
    scope_->launch([this](std::stop_token stop) { return runSaves(std::move(stop)); });
}

QCoro::Task<void> SettingsStore::runSaves(std::stop_token stop) {
    while (!stop.stop_requested() && !saves_.isEmpty()) {
        const AccountSettings settings = saves_.head();
        std::optional<AccountSettings> stored;
        bool isRefused = false;
        QString failure;
        try {
            const TeskalAPI api = client();
            auto saving = api.saveSettings(settings.anonymize, settings.disabledModels, stop);
            stored = co_await saving;
        } catch (const APIError& error) {
            isRefused = true;
            failure = error.text();
        } catch (const Error&) {
            failure = failureText();
        } catch (const Cancelled&) {
            if (stop.stop_requested())
                throw;
        }
        if (!isRefused) // without an answer, or with one that is not understood, it may be stored as well
            ++stored_;
        finishSave(stored, failure);
    }
    if (!stop.stop_requested()) // else another account's saver may run by now
        saving_ = false;
}

void SettingsStore::finishSave(const std::optional<AccountSettings>& stored, const QString& failure) {
    saves_.dequeue();
    State next = state_;
    if (stored)
        confirmed_ = stored;
    if (!failure.isEmpty())
        next.error = failure;
    if (saves_.isEmpty())
        next.settings = confirmed_;
    publish(std::move(next));
}

} // namespace teskal
