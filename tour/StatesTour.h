#pragma once

#include "Stage.h"

namespace teskal {
class TeskalApp;
}

namespace teskal::tour {

/// What a window passes through now and then: results of jobs, reasons of a route, search, menus, a drag, a
/// notice. Somebody is signed in, and the chats are shown.
class StatesTour {
public:
    /// Both must outlive it.
    StatesTour(TeskalApp& app, const Stage& stage) : app_(app), stage_(stage) {}

    void play();

private:
    void jobs();
    void reasons();
    void search();
    void menus();
    void drag();
    void notice();

    TeskalApp& app_;
    const Stage& stage_;
};

} // namespace teskal::tour
