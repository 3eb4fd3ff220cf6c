#include "SettingsBinding.h"

#include "AppModel.h"
#include "FileManager.h"
#include "settings/SettingsWindow.h"
#include "settings/StoredAppearance.h"
#include "theme/Theme.h"

#include <QDir>

#include <algorithm>

namespace teskal {

namespace {

PrivacyState privacyState(const SettingsStore& store) {
    PrivacyState state;
    state.known = store.settings().has_value();
    state.anonymize = store.settings() && store.settings()->anonymize;
    state.anonymizeCredits = store.anonymizeCredits();
    state.enabled = store.isEnabled();
    state.error = store.error();
    return state;
}

ModelsState modelsState(const SettingsStore& store) {
    ModelsState state;
    for (const ModelOption& model : store.models())
        state.models.append({model.id, model.name.simplified(), model.lab.value_or(QString()).simplified(),
                             store.isOn(model)});
    state.known = store.settings().has_value();
    state.loading = store.isLoading();
    state.enabled = store.isEnabled();
    state.error = store.error();
    return state;
}

GeneralState generalState(AppModel& model) {
    const Auth& auth = model.auth();
    GeneralState state;
    state.signedIn = auth.isSignedIn();
    state.name = auth.profile() ? auth.profile()->displayName() : QString();
    state.signingIn = auth.isSigningIn();
    state.error = auth.lastError().value_or(QString());
    state.hasChats = model.store().owner().has_value();
    return state;
}

} // namespace

SettingsBinding::SettingsBinding(AppModel& model, Theme& theme, QSettings& settings)
    : model_(model), theme_(theme), settings_(settings) {
    theme_.setAppearance(storedAppearance(settings));
    const Auth& auth = model.auth();
    connect(&auth, &Auth::isSignedInChanged, this, &SettingsBinding::showAccount);
    connect(&auth, &Auth::isSigningInChanged, this, &SettingsBinding::showAccount);
    connect(&auth, &Auth::lastErrorChanged, this, &SettingsBinding::showAccount);
    connect(&auth, &Auth::profileChanged, this, [this] {
        if (window_)
            window_->withdrawQuestion();
        showAccount();
    });
    // Queued: the chats are the first of an account's things to change hands.
    connect(&model.store(), &ChatStore::listReset, this, &SettingsBinding::showAccount, Qt::QueuedConnection);
    const SettingsStore& store = model.settings();
    for (const auto changed : {&SettingsStore::settingsChanged, &SettingsStore::modelsChanged,
                               &SettingsStore::loadingChanged, &SettingsStore::errorChanged})
        connect(&store, changed, this, &SettingsBinding::showSettings);
}

SettingsBinding::~SettingsBinding() = default;

SettingsWindow& SettingsBinding::show(SettingsTab tab) {
    if (!window_)
        makeWindow();
    window_->setTab(tab);
    return show();
}

SettingsWindow& SettingsBinding::show() {
    if (!window_)
        makeWindow();
    window_->show();
    window_->raise();
    window_->activateWindow();
    return *window_;
}

void SettingsBinding::makeWindow() {
    window_ = std::make_unique<SettingsWindow>(theme_, settings_);
    connect(window_.get(), &SettingsWindow::signInRequested, this, &SettingsBinding::signIn);
    connect(window_.get(), &SettingsWindow::quitRequested, this, &SettingsBinding::quitRequested);
    bindGeneral();
    bindAccount();
    showAccount();
    showSettings();
}

void SettingsBinding::bindGeneral() {
    GeneralSettings& general = window_->general();
    general.setAppearance(theme_.appearance());
    connect(&general, &GeneralSettings::appearanceChosen, this, [this](Appearance appearance) {
        storeAppearance(settings_, appearance);
        theme_.setAppearance(appearance);
    });
    connect(&general, &GeneralSettings::signOutRequested, &model_, &AppModel::signOut);
    connect(&general, &GeneralSettings::revealRequested, this, &SettingsBinding::reveal);
    connect(&general, &GeneralSettings::deleteAllRequested, this,
            [this] { window_->confirmDeleteAll(model_.services().config.baseURL.host()); });
    connect(window_.get(), &SettingsWindow::deleteAllConfirmed, &model_, &AppModel::deleteAllChats);
}

void SettingsBinding::bindAccount() {
    SettingsStore& store = model_.settings();
    connect(window_.get(), &SettingsWindow::accountShown, &store, &SettingsStore::load);
    connect(window_.get(), &SettingsWindow::left, &store, &SettingsStore::dismissError);
    connect(&window_->privacy(), &PrivacySettings::anonymizeRequested, this, [this](bool on) {
        model_.settings().dismissError();
        model_.settings().setAnonymize(on);
        showSettings(); // also what could not be changed
    });
    connect(&window_->models(), &ModelSettings::switchRequested, this, [this](const QString& id, bool on) {
        model_.settings().dismissError();
        const QList<ModelOption> models = model_.settings().models();
        const auto model = std::find_if(models.begin(), models.end(),
                                        [&id](const ModelOption& option) { return option.id == id; });
        if (model != models.end())
            model_.settings().set(*model, on);
        showSettings();
    });
}

void SettingsBinding::showAccount() {
    const bool signedIn = model_.auth().isSignedIn();
    const bool signedInHere = signingIn_ && signedIn;
    if (signedIn || !model_.auth().isSigningIn())
        signingIn_ = false;
    if (window_) {
        const GeneralState state = generalState(model_);
        window_->general().setState(state);
        window_->setSignIn(state.signingIn, state.error);
        window_->setSignedIn(signedIn);
    }
    if (signedInHere)
        Q_EMIT mainWindowRequested();
}

void SettingsBinding::showSettings() {
    if (!window_)
        return;
    window_->privacy().setState(privacyState(model_.settings()));
    window_->models().setState(modelsState(model_.settings()));
}

void SettingsBinding::signIn() {
    // The provider's page may open over the main window.
    Q_EMIT mainWindowRequested();
    model_.signIn();
    signingIn_ = model_.auth().isSigningIn();
}

void SettingsBinding::reveal() {
    const QString& folder = model_.services().dataFolder;
    QDir().mkpath(folder); // it comes with the first chat
    FileManager::reveal(folder);
}

} // namespace teskal
