#pragma once

#include "World.h"

#include <QProcessEnvironment>
#include <QTemporaryDir>

namespace teskal::bench {

/// The home of a user who is signed in and has \a chatCount chats, all of which the local service knows.
class Home {
public:
    explicit Home(int chatCount);

    /// What a program needs to be started by this user.
    QProcessEnvironment environment() const;
    QString service() const { return world_.service->origin().toString(); }

private:
    void fill(int chatCount);
    void moveIn();

    test::World world_;
    QTemporaryDir folder_;
};

} // namespace teskal::bench
