#include "CrashLimit.h"

namespace teskal {

bool CrashLimit::count(Time now) {
    while (!times_.empty() && now - times_.front() > within)
        times_.pop_front();
    times_.push_back(now);
    return times_.size() >= most;
}

} // namespace teskal
