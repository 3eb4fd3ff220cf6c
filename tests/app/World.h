#pragma once

#include "AppModel.h"
#include "BrowserSession.h"
#include "FakeAudioPlayer.h"
#include "FakeKeychain.h"
#include "RecordingPage.h"
#include "ServiceControl.h"
#include "SystemClock.h"
#include "WaitUntil.h"

#include <QTemporaryDir>

#include <memory>

namespace teskal::test {

/// A computer with the application on it, and the local service far away. The application can be quit and
/// started again; keyring and files stay.
class World {
public:
    /// \a serviceArguments come on top of those of every test. The application goes by \a byHand when there
    /// is one, which must outlive the world, and by the time of day otherwise.
    explicit World(const QStringList& serviceArguments = {}, Clock* byHand = nullptr);

    /// Starts the application, with a page that is ready, and waits until the stored session was read.
    /// \a atOnce happens before that, when a session that was stored is there and its chats are not.
    void launch(const std::function<void(AppModel&)>& atOnce = {});
    /// Ends it as quitting does, in the middle of whatever it does.
    void quit();
    AppModel& model() { return *model_; }

    /// Signs in and waits for the profile.
    void signIn();
    /// Sends \a text and returns the chat it went to.
    QString send(const QString& text);
    /// And waits for the answer's end.
    QString ask(const QString& text);
    /// The next answer is answerText, and its first ten characters arrive before the rest.
    void answerInPieces();
    /// The rest arrives when the test says so.
    void holdInTheMiddle();
    /// A client of the account that is signed in, as another device of theirs has.
    TeskalAPI otherDevice();
    /// Whether the chat's answer came to its end.
    bool waitForEnd(const QString& chat);
    /// Waits until some text of the chat's answer is there.
    bool waitForText(const QString& chat);
    /// The last message of a chat of the signed-in account.
    ChatMessage last(const QString& chat) const;
    /// "CODE: text" of the last message's error, "-" for no code, empty for no error.
    QString errorOf(const QString& chat) const;
    /// What the file of account \a owner holds.
    QList<Chat> stored(const QString& owner) const;

    std::unique_ptr<LocalService> service;
    ServiceControl control;
    SystemClock timeOfDay;
    Clock& clock;
    HttpSession http{clock};
    BrowserSession browser{http};
    FakeKeychain keychain;
    QTemporaryDir folder;
    Config config;
    RecordingPage page;
    QStringList openedLinks;
    QString clipboard;
    FakeAudioPlayer player;
    AudioInput* microphone = nullptr; ///< of the next launch
    QString savePath;                 ///< what the user picks
    QStringList suggestedNames;

private:
    std::unique_ptr<AppModel> model_;
};

/// And somebody has signed in.
class SignedInWorld : public World {
public:
    explicit SignedInWorld(const QStringList& serviceArguments = {}) : World(serviceArguments) { signIn(); }
};

inline const QString chatPath = u"/api/chat"_qs;
inline const QString answerText = u"one two three four five six seven eight nine ten"_qs;

} // namespace teskal::test
