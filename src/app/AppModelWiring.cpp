#include "AppModel.h"

#include "Clock.h"

#include <algorithm>

// What the model's parts tell each other, and how they come to an account and leave it.

namespace teskal {

namespace {

/// From the last change of a chat to its way to the service.
constexpr std::chrono::milliseconds editDelay{1500};

} // namespace

AppModel::AppModel(const AppServices& services, QObject* parent)
    : QObject(parent), services_(services),
      auth_(services.config, services.http, services.keychain, services.authSession, services.clock),
      store_(services.dataFolder, services.clock), folders_(services.dataFolder, services.clock),
      files_(services.cacheFolder), transcript_(*this), sync_(services.dataFolder, store_, services.clock),
      runs_(store_, [this] { return api(); }),
      jobs_(
          store_, services.clock, [this] { return api(); }, [this] { return sync_.isHistoryKnown(); }),
      transcriptFiles_(files_, store_, [this] { return selection_; }),
      readAloud_(services.audioPlayer, [this] { return api(); }), mediaSaver_(files_, services.savePanel),
      balance_([this] { return api(); }), keys_([this] { return api(); }), pool_([this] { return api(); }),
      draftAttachments_(drafts_),
      voice_(services.audioInput, services.recordingsFolder, services.clock, [this] { return api(); }) {
    store_.holdReading(services.chatsLater);
    tieAccount();
    tieStores();
    tieMedia(); // first: what is read of a message that is gone has ended when the page is told of it
    tieSelection();
    tieRuns();
    tieDrafts();
    syncAccount();
}

void AppModel::tieAccount() {
    connect(&auth_, &Auth::profileChanged, this, &AppModel::profileChanged);
    connect(&auth_, &Auth::isSignedInChanged, this, [this] {
        if (auth_.isSignedIn()) {
            resumeAccount();
        } else {
            leaveSheets();
            voice_.rest(); // what was said is there when the same account comes back
        }
        updateCanSend();
    });
    connect(&balance_, &Balance::checkoutReady, this,
            [this](const QUrl& page) { openLink(QString::fromLatin1(page.toEncoded())); });
}

void AppModel::tieStores() {
    connect(&store_, &ChatStore::deletedByUser, this, &AppModel::chatsDeleted);
    connect(&store_, &ChatStore::newestLoaded, this, &AppModel::openAwaited);
    connect(&store_, &ChatStore::loaded, this, [this] {
        openAwaited();
        awaited_.reset();
        if (auth_.isSignedIn())
            jobs_.resume();
    });
    connect(&store_, &ChatStore::edited, this, [this] { sync_.syncSoon(editDelay); });
    connect(&sync_, &ChatSync::uploaded, this,
            [this](const QString& fileId, const QString& mediaType, const QByteArray& bytes) {
                files_.store(bytes, mediaType, fileId);
            });
    connect(&sync_, &ChatSync::pulled, this, [this] {
        dropWhatIsGone();
        jobs_.resume();
    });
    connect(&sync_, &ChatSync::historyKnown, &jobs_, &JobPoller::resume);
    connect(&store_, &ChatStore::privateChatEnded, this, [this] { files_.forgetPrivate(); });
    connect(&folders_, &FolderStore::notice, this, &AppModel::show);
}

void AppModel::tieSelection() {
    connect(&store_, &ChatStore::messageChanged, this,
            [this](const QString& chatId, const QString& messageId) {
                if (selection_ != chatId)
                    return;
                if (const ChatMessage* message = store_.message(chatId, messageId))
                    transcript_.showMessage(chatId, *message);
            });
    connect(&store_, &ChatStore::chatChanged, this, &AppModel::selectedChatChanged);
    connect(this, &AppModel::busyChanged, this, &AppModel::updateCanSend);
    connect(&store_, &ChatStore::privateChatEnded, this, &AppModel::dropWhatIsGone);
    connect(&store_, &ChatStore::chatRemoved, this, [this](int, const QString& chatId) {
        runs_.stop(chatId); // nobody sees what it writes
        dropWhatIsGone();
    });
    connect(&folders_, &FolderStore::foldersChanged, this, &AppModel::dropWhatIsGone);
}

void AppModel::tieRuns() {
    const auto runChanged = [this](const QString& chatId) {
        Q_EMIT answeringChanged(chatId);
        if (selection_ != chatId)
            return;
        transcript_.setBusy(isBusy());
        Q_EMIT busyChanged();
    };
    connect(&runs_, &AnswerRuns::started, this, runChanged);
    connect(&runs_, &AnswerRuns::ended, this, runChanged);
    connect(&runs_, &AnswerRuns::jobStarted, &jobs_, &JobPoller::poll);
    connect(&jobs_, &JobPoller::ended, this, &AppModel::jobEnded);
    connect(&runs_, &AnswerRuns::answered, this, [this](const QString& chatId) {
        refreshBalance(true);
        if (store_.chat(chatId))
            Q_EMIT answered(chatId);
    });
}

void AppModel::tieDrafts() {
    connect(&draftAttachments_, &DraftAttachments::notice, this, &AppModel::show);
    connect(&drafts_, &Drafts::textChanged, this, [this](const QString& changed) {
        if (changed != slot())
            return;
        Q_EMIT draftChanged();
        updateCanSend();
    });
    connect(&drafts_, &Drafts::filesChanged, this, [this](const QString& changed) {
        if (changed != slot())
            return;
        Q_EMIT draftFilesChanged();
        updateCanSend();
    });
    connect(&voice_, &VoiceInput::heard, this, &AppModel::addWords);
    connect(&voice_, &VoiceInput::failed, this, &AppModel::show);
    connect(this, &AppModel::draftMoved, &voice_, &VoiceInput::moveSlot);
}

void AppModel::tieMedia() {
    connect(&store_, &ChatStore::privateChatEnded, &readAloud_, &ReadAloud::stop);
    connect(&store_, &ChatStore::chatChanged, this, &AppModel::stopReadingWhatIsGone);
    connect(&store_, &ChatStore::chatRemoved, this,
            [this](int, const QString& chatId) { stopReadingWhatIsGone(chatId); });
    connect(&readAloud_, &ReadAloud::stateChanged, &transcript_, &TranscriptBridge::setAudio);
    connect(&readAloud_, &ReadAloud::failed, this, &AppModel::show);
    connect(&mediaSaver_, &MediaSaver::notice, this, &AppModel::show);
}

AppModel::~AppModel() = default;

TeskalAPI AppModel::api() {
    // A store's client gets tokens only while the signed-in account is the one that the store has claimed.
    const QString owner = store_.owner().value_or(QString());
    TokenProvider token = [auth = &auth_, owner](std::stop_token stop) {
        return auth->accessTokenFor(owner, std::move(stop));
    };
    return TeskalAPI(services_.config.baseURL, std::move(token), services_.http, services_.clock,
                     services_.version);
}

void AppModel::profileChanged() {
    if (!auth_.profile())
        return; // an expired session keeps its chats; leaving the account is signOut()
    // The session's other half, isSignedInChanged, follows and sets the account going.
    if (store_.owner() != auth_.profile()->sub)
        claimStores(auth_.profile()->sub);
}

void AppModel::syncAccount() {
    const std::optional<QString> owner = auth_.profile() ? std::optional(auth_.profile()->sub) : std::nullopt;
    if (owner != store_.owner())
        claimStores(owner);
    if (auth_.isSignedIn())
        resumeAccount();
    else
        leaveSheets();
}

void AppModel::claimStores(const std::optional<QString>& owner) {
    cancelRuns();
    if (isPrivateShown())
        select(std::nullopt); // while its account is still there
    leaveSheets();
    voice_.discard();
    drafts_.clear();
    prompts_.clear();
    awaited_.reset();
    store_.claim(owner);
    const std::optional<TeskalAPI> client = owner ? std::optional(api()) : std::nullopt;
    settings_.claim(owner, client);
    folders_.claim(owner, client);
    files_.claim(owner, client);
    sync_.claim(owner, client);
    dropWhatIsGone();
    tellOtherDraft();
}

void AppModel::resumeAccount() {
    folders_.resume();
    sync_.resume();
    syncNow();
    refreshBalance(false);
    jobs_.resume();
    showCurrentChat();
}

void AppModel::syncNow() {
    folders_.syncSoon(std::chrono::milliseconds(0));
    sync_.syncSoon(std::chrono::milliseconds(0));
}

void AppModel::chatsDeleted(const QList<RemovedChat>& chats) {
    QStringList ids;
    for (const RemovedChat& chat : chats)
        ids.append(chat.id);
    folders_.unfile(ids);
    sync_.recordDeletes(chats);
}

void AppModel::dropWhatIsGone() {
    if (selection_ && !store_.chat(*selection_))
        select(std::nullopt);
    const auto hasDraft = [this](const QString& slot) { return hasSlot(slot); };
    voice_.keepOnly(hasDraft);
    drafts_.keepOnly(hasDraft);
    const QList<Folder>& folders = folders_.folders();
    prompts_.dropGone([this](const QString& id) { return store_.chat(id) != nullptr; },
                      [&folders](const QString& id) {
                          return std::any_of(folders.begin(), folders.end(),
                                             [&id](const Folder& folder) { return folder.id == id; });
                      });
}

void AppModel::flush() {
    store_.flush();
    folders_.flush();
    sync_.flush();
}

void AppModel::cancelRuns() {
    runs_.abandonAll();
    jobs_.cancelAll();
    readAloud_.stop();
    mediaSaver_.abandon();
    store_.stopPending();
}

void AppModel::tellOtherDraft() {
    Q_EMIT draftSwitched();
    Q_EMIT draftChanged();
    Q_EMIT draftFilesChanged();
    updateCanSend();
}

void AppModel::updateCanSend() {
    if (std::exchange(couldSend_, canSend()) != couldSend_)
        Q_EMIT canSendChanged();
}

} // namespace teskal
