#pragma once

#include "ServiceControl.h"

#include <algorithm>
#include <random>

namespace teskal::test {

/// The choices of a schedule: the same ones for the same seed, whatever the standard library.
class Chance {
public:
    explicit Chance(quint32 seed) : random_(seed) {}

    /// From 0 to below \a limit, which must be positive.
    int below(int limit) { return int(random_() % quint32(limit)); }
    bool oneIn(int count) { return below(count) == 0; }

private:
    std::mt19937 random_;
};

/// The replies that the service holds back, a few at most.
class HeldReplies {
public:
    /// Both must outlive it.
    HeldReplies(ServiceControl& control, Chance& chance) : control_(control), chance_(chance) {}

    /// Holds the next reply back before its headers, or after \a afterBytes of its body when that is not
    /// negative. When too many are held it lets one go instead.
    void hold(const QString& path, int afterBytes) {
        if (open_.size() >= most)
            return releaseOne();
        QJsonObject what{{u"path"_qs, path}};
        if (afterBytes >= 0)
            what.insert(u"afterBytes"_qs, afterBytes);
        open_.append({control_.post(u"hold"_qs, what).value(u"id").toInt(), path});
    }
    void releaseOne() {
        if (open_.isEmpty())
            return;
        const Hold one = open_.takeAt(chance_.below(int(open_.size())));
        control_.post(u"release"_qs, QJsonObject{{u"id"_qs, one.id}});
    }
    void releaseAll() {
        open_.clear();
        control_.releaseAll();
    }
    bool isHeld(const QString& path) const {
        return std::any_of(open_.cbegin(), open_.cend(), [&](const Hold& one) { return one.path == path; });
    }

private:
    struct Hold {
        int id;
        QString path;
    };
    static constexpr int most = 4;

    ServiceControl& control_;
    Chance& chance_;
    QList<Hold> open_;
};

} // namespace teskal::test
