#pragma once

#include "Stage.h"

#include <functional>

namespace teskal {
struct ChatMessage;
class TeskalApp;
} // namespace teskal

namespace teskal::tour {

/// A new user's first minutes: sign in, ask, watch, search, meet an error, have things made, buy credits,
/// attach a picture, keep order among the chats, talk in private.
class Tour {
public:
    /// Both must outlive the tour.
    Tour(TeskalApp& app, Stage& stage) : app_(app), stage_(stage) {}

    void play();

private:
    void signIn();
    void firstAnswer();
    void anotherAnswer();
    void find();
    void error();
    void media();
    void credits();
    void attachment();
    void folders();
    void dialogs();
    void privateChat();
    void narrow();
    /// The picture \a name of what \a prompt asks, which Escape takes away.
    void question(const QString& name, const std::function<void()>& prompt);
    void ask(const QString& question);
    void waitForAnswer();
    const ChatMessage* answer() const;

    TeskalApp& app_;
    Stage& stage_;
};

} // namespace teskal::tour
