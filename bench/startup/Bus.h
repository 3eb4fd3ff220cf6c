#pragma once

#include <QTemporaryDir>

namespace teskal::bench {

/// A desktop's message bus with no service on it, for as long as the object lives; every program started
/// meanwhile finds it. So what is measured depends on nothing that happens to run here. Throws
/// std::runtime_error.
class Bus {
public:
    Bus();
    ~Bus();
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

private:
    QTemporaryDir folder_;
    int process_ = 0;
};

} // namespace teskal::bench
