#pragma once

#include "AnswerRuns.h"
#include "ApiKeys.h"
#include "Auth.h"
#include "Balance.h"
#include "ChatStore.h"
#include "ChatSync.h"
#include "Config.h"
#include "DraftAttachments.h"
#include "Drafts.h"
#include "FileCache.h"
#include "FolderStore.h"
#include "JobPoller.h"
#include "MediaSaver.h"
#include "ModelPool.h"
#include "Prompts.h"
#include "ReadAloud.h"
#include "SettingsStore.h"
#include "Sheet.h"
#include "TranscriptActions.h"
#include "TranscriptBridge.h"
#include "TranscriptFiles.h"
#include "VoiceInput.h"

#include <QObject>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

class QImage;

namespace teskal {

class AudioPlayer;

/// What the application stands on; everything must outlive the model.
struct AppServices {
    const Config& config;
    HttpSession& http;
    Clock& clock;
    Keychain& keychain;
    AuthSession& authSession;
    QString dataFolder;  ///< holds the accounts' files
    QString cacheFolder; ///< holds copies of what the service stores
    QString version;     ///< told to the service
    /// Opens a web or mail address in the user's default application.
    std::function<void(const QString&)> openLink;
    /// Puts a text on the clipboard.
    std::function<void(const QString&)> copyText;
    /// Where answers are heard; without one they cannot be read aloud.
    AudioPlayer* audioPlayer = nullptr;
    /// Asks where to save a file; without one none is saved.
    SavePanel savePanel = nullptr;
    /// What the user speaks into; without one nothing can be dictated.
    AudioInput* audioInput = nullptr;
    /// Holds what is being said, while it is.
    QString recordingsFolder = {};
    /// Whether the chats are read after AppModel::readChats() only.
    bool chatsLater = false;
};

/// The one place where what the user wants becomes changes: the account, the chats, the selection and the
/// answers under way. Views bind to it and to the stores it owns. Main thread only.
class AppModel final : public QObject, private TranscriptActions {
    Q_OBJECT

public:
    explicit AppModel(const AppServices& services, QObject* parent = nullptr);
    ~AppModel() override;

    Auth& auth() { return auth_; }
    const Auth& auth() const { return auth_; }
    const ChatStore& store() const { return store_; }
    FolderStore& folders() { return folders_; }
    const FolderStore& folders() const { return folders_; }
    FileCache& files() { return files_; }
    SettingsStore& settings() { return settings_; }
    TranscriptBridge& transcript() { return transcript_; }
    /// Where the transcript page's stored files come from.
    FileSource& transcriptFiles() { return transcriptFiles_; }

    /// The chat shown in the detail view; none for the empty chat.
    const std::optional<QString>& selection() const { return selection_; }
    void select(const std::optional<QString>& chatId);
    /// The selected chat; null without a selection. Valid until the next change.
    const Chat* selectedChat() const;
    /// Whether the selected chat's answer is running.
    bool isBusy() const { return selection_ && isAnswering(*selection_); }
    bool isAnswering(const QString& chatId) const { return runs_.isRunning(chatId); }

    /// The chats whose answers are running, in no order.
    QStringList answeringChats() const { return runs_.running(); }

    /// What the user has written for the next message of the selected chat, or of a new one. Every chat has a
    /// draft of its own.
    const QString& draft() const { return drafts_.text(slot()); }
    void setDraft(const QString& text);
    /// The files of that message, in the order in which they were attached.
    const QList<DraftFile>& draftFiles() const { return drafts_.files(slot()); }
    /// Reads files for the message, one after the other; a notice tells of what cannot be attached.
    void attach(const QList<QUrl>& files) override { attachTo(slot(), files); }
    /// The same for the draft in \a slot; nothing when its chat is gone.
    void attachTo(const QString& slot, const QList<QUrl>& files);
    /// Attaches an image that is in no file, under \a name.
    void attachImage(const QImage& image, const QString& name);
    /// Takes a file out again.
    void removeDraftFile(quint64 number);
    /// Whether sendDraft() would send: there is a text or a file, no file is still being prepared and no
    /// answer is running.
    bool canSend() const;
    void sendDraft();
    /// Where the draft on screen is kept, so that what takes its time finds it again.
    QString draftSlot() const { return slot(); }
    /// Adds words that were spoken to the draft in \a slot; nothing when its chat is gone.
    void addWords(const QString& slot, const QString& words);
    /// Begins to record for the draft on screen, or throws away what is being recorded.
    void toggleVoice() { voice_.toggle(slot()); }
    /// Has what was recorded turned into words for the draft that it was meant for.
    void finishVoice() { voice_.finish(); }
    /// Throws away what is being recorded, for nobody sees any more that it is.
    void discardRecording() { voice_.discardRecording(); }
    const VoiceRecorder& recorder() const { return voice_.recorder(); }

    /// Sends \a text with \a files to the selected chat, or to a new one. Nothing when nobody is signed in,
    /// the text is blank and there is no file, or the chat's answer is running.
    void send(const QString& text, const QList<Attachment>& files);
    void send(const QString& text) override { send(text, {}); }
    void stop();
    /// Asks again for the last answer of the selected chat.
    void retry() override;
    bool canRetry() const;
    void copyLastAnswer();

    /// Leaves the selection, so that the next message begins a new chat.
    void newChat();
    /// Begins a chat that is kept nowhere, and ends with the selection. Nothing when nobody is signed in.
    void newPrivateChat();
    bool isPrivateShown() const { return selection_ && store_.isPrivate(*selection_); }
    /// Begins to read the chats, where AppServices::chatsLater had it put off.
    void readChats() { store_.holdReading(false); }
    /// What a click outside the window asks for (a notification, a second start): selects the chat, as soon
    /// as it was read unless the user has chosen something else by then, or with none the empty one. A
    /// private chat stays.
    void openFromOutside(const std::optional<QString>& chatId);
    /// Deletes the chat here and everywhere; its answer is stopped.
    void deleteChat(const QString& chatId);
    /// Deletes all saved chats here and everywhere.
    void deleteAllChats();
    void renameChat(const QString& chatId, const QString& title);
    /// Makes or renames the folder that \a prompt is about.
    void submitFolderName(const QString& name, const FolderPrompt& prompt);
    /// What the application stands on.
    const AppServices& services() const { return services_; }
    /// The questions that the window asks at present.
    Prompts& prompts() { return prompts_; }

    void signIn() override;
    /// Ends the session and leaves everything of it.
    void signOut();
    /// Aligns every store with the account that is signed in now.
    void syncAccount();
    /// Asks the service at once for what other devices did, as when the user comes back to the application.
    void syncNow();

    /// Opens a web or mail address outside; anything else is dropped.
    void openLink(const QString& url) override;
    /// Opens a path of the service's web site.
    void openHelp(const QString& path);

    /// Reads a text, of the message, aloud; stops when it is being read.
    void speak(const QString& messageId, const QString& text) override;
    AudioState audioOf(const QString& messageId) const { return readAloud_.stateOf(messageId); }
    void stopAudio() { readAloud_.stop(); }
    /// Saves what was generated for a message of the selected chat to a place the user picks. Nothing for a
    /// message without generated media.
    void saveMedia(const QString& messageId) override;

    /// The account sheet that is open.
    std::optional<Sheet> sheet() const { return sheet_; }
    void setSheet(std::optional<Sheet> sheet);

    /// The account's credits as the service said last; what is bought and not yet finished goes when the
    /// credits sheet closes.
    const Balance& balance() const { return balance_; }
    /// Asks for the balance, \a fresh past what the service remembers. Nothing when nobody is signed in.
    void refreshBalance(bool fresh);
    /// Begins to buy \a credits; the page to finish it on opens in the browser.
    void buyCredits(int credits);

    /// The account's keys; what is shown only once goes when the keys sheet closes.
    const ApiKeys& keys() const { return keys_; }
    /// Nothing when nobody is signed in, like the two below.
    void loadKeys();
    void createKey(const QString& name);
    void revokeKey(const QString& id);
    /// The models that requests go to.
    const ModelPool& pool() const { return pool_; }
    /// Asks for them. Nothing when nobody is signed in.
    void loadPool();

    /// Shows a notice for 3.5 s; a newer one takes its place.
    void show(const QString& notice);
    /// The notice that is shown; empty when there is none.
    const QString& toast() const { return toast_; }

    /// Writes every save that is still waiting.
    void flush();

Q_SIGNALS:
    void selectionChanged();
    /// isBusy() or the retry rule of the selected chat may be another than before.
    void busyChanged();
    /// isAnswering() of the chat changed.
    void answeringChanged(const QString& chatId);
    /// draft() is another text, or that of another chat.
    void draftChanged();
    /// draft() and draftFiles() are those of another chat: nothing of the one before can be brought back.
    void draftSwitched();
    /// The draft in slot \a from is the one in slot \a to now; told before the selection changes.
    void draftMoved(const QString& from, const QString& to);
    void draftFilesChanged();
    void canSendChanged();
    void toastChanged();
    void sheetChanged();
    /// The composer should take the keyboard focus.
    void focusComposer();
    /// An answer has come to its end, and may be worth the user's attention.
    void answered(const QString& chatId);
    /// The video or song of the message is there, or will never be.
    void jobEnded(const QString& chatId, const QString& messageId);

private:
    void showCurrentChat() override;
    void copyText(const QString& text) override;
    void openSheet(const QString& name) override;
    void takeFocusToComposer() override;
    QCoro::Task<FetchReply> passthrough(QString path, QString method, QString body,
                                        std::stop_token stop) override;

    TeskalAPI api();
    void tieAccount();
    void tieStores();
    void tieSelection();
    void tieRuns();
    void tieDrafts();
    void tieMedia();
    /// Messages of the chat may have gone: the one that is being read aloud, too.
    void stopReadingWhatIsGone(const QString& chatId);
    void claimStores(const std::optional<QString>& owner);
    /// What waited for a session goes on: the same account's as well as another one's.
    void resumeAccount();
    /// Nothing of the account's sheets outlives the session.
    void leaveSheets();
    void profileChanged();
    /// The user deleted these chats.
    void chatsDeleted(const QList<RemovedChat>& chats);
    /// Chats or folders have gone: what was about them goes, too.
    void dropWhatIsGone();
    void selectedChatChanged(const QString& chatId);
    /// More chats are there: the one that is to be opened may be.
    void openAwaited();
    /// Ends the private chat, with everything of it, unless it is selected.
    void leavePrivate();
    QString slot() const;
    bool hasSlot(const QString& slot) const { return slot.isEmpty() || store_.chat(slot); }
    /// A chat was made of what had none: what is under way for its draft goes along.
    void moveDraft(const QString& chatId);
    /// The draft on screen is that of another slot.
    void tellOtherDraft();
    void updateCanSend();
    void startAnswer(const QString& chatId, const QList<ChatMessage>& kept, const QString& assistantId);
    void cancelRuns();

    AppServices services_;
    Auth auth_;
    ChatStore store_;
    FolderStore folders_;
    FileCache files_;
    TranscriptBridge transcript_;
    SettingsStore settings_;
    ChatSync sync_;
    AnswerRuns runs_;
    JobPoller jobs_;
    TranscriptFiles transcriptFiles_;
    ReadAloud readAloud_;
    QString readChatId_; ///< of the message that was read last
    MediaSaver mediaSaver_;
    Balance balance_;
    ApiKeys keys_;
    ModelPool pool_;
    Drafts drafts_;
    DraftAttachments draftAttachments_;
    VoiceInput voice_;
    Prompts prompts_;
    std::optional<Sheet> sheet_;
    std::optional<QString> selection_;
    std::optional<QString> awaited_; ///< to be selected when it was read
    bool couldSend_ = false;         ///< canSend() as last told
    QString toast_;
    std::unique_ptr<ClockTimer> toastTimer_;
};

} // namespace teskal
