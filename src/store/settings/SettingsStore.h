#pragma once

#include "Scope.h"
#include "TeskalAPI.h"

#include <QObject>
#include <QQueue>

#include <memory>
#include <optional>

namespace teskal {

/// The settings that the account keeps at the service, and the models that can be switched. A change shows at
/// once; the service's reply to the last of several changes confirms it, or its failure takes it back. Keeps
/// no file. Main thread only.
class SettingsStore final : public QObject {
    Q_OBJECT

public:
    explicit SettingsStore(QObject* parent = nullptr);

    /// Works for another account from now on, or for none: everything of the previous one is forgotten, and
    /// its replies that are still under way change nothing. The same owner again only takes over \a api.
    void claim(const std::optional<QString>& owner, std::optional<TeskalAPI> api);

    /// None before the first load.
    const std::optional<AccountSettings>& settings() const { return state_.settings; }
    const QList<ModelOption>& models() const { return state_.models; }
    /// What anonymising costs per message, in credits, when the service tells.
    std::optional<qint64> anonymizeCredits() const { return state_.anonymizeCredits; }
    /// Whether this account has settings; true before the first load.
    bool isEnabled() const { return state_.enabled; }
    bool isLoading() const { return state_.loading; }
    /// The last failure to show, empty when there is none.
    const QString& error() const { return state_.error; }
    /// Saves that are under way or wait for their turn.
    int inFlight() const { return int(saves_.size()); }

    /// Asks the service. Does nothing while a load is under way or nobody is signed in.
    void load();
    /// True when nothing is loaded.
    bool isOn(const ModelOption& model) const;
    /// Switches \a model and saves. Does nothing before the first load, which would wipe the service's list.
    void set(const ModelOption& model, bool on);
    /// Likewise.
    void setAnonymize(bool on);
    /// The user has seen the error.
    void dismissError();

Q_SIGNALS:
    // Each after a real difference, when everything has its new value.
    void settingsChanged(); ///< settings(), anonymizeCredits(), isEnabled()
    void modelsChanged();
    void loadingChanged();
    void errorChanged();

private:
    struct State {
        std::optional<AccountSettings> settings;
        QList<ModelOption> models;
        std::optional<qint64> anonymizeCredits;
        bool enabled = true;
        bool loading = false;
        QString error;
    };

    void publish(State next);
    void save(const AccountSettings& settings);
    TeskalAPI client() const;
    QCoro::Task<void> runLoad(std::stop_token stop);
    QCoro::Task<void> runSaves(std::stop_token stop);
    void finishLoad(const SettingsReply& reply, quint64 storedBefore);
    void finishSave(const std::optional<AccountSettings>& stored, const QString& failure);

    std::optional<QString> owner_;
    std::optional<TeskalAPI> api_;
    State state_;
    std::optional<AccountSettings> confirmed_; ///< as the service last told them
    QQueue<AccountSettings> saves_;            ///< the first one is under way
    bool saving_ = false;                      ///< one coroutine sends all saves
    quint64 stored_ = 0; ///< counts the saves that the service stored or may have stored
    std::unique_ptr<Scope> scope_ = std::make_unique<Scope>();
};

} // namespace teskal
