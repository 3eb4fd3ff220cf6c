#include "DateGrouping.h"

#include <QDateTime>

#include <algorithm>
#include <cmath>

namespace teskal {

namespace {

/// The last millisecond that JavaScript, which the other devices may speak, can tell.
constexpr double latestTime = 8.64e15;

QDateTime local(double timeMs, const QTimeZone& zone) {
    const double time = std::isfinite(timeMs) ? std::clamp(timeMs, -latestTime, latestTime) : 0;
    return QDateTime::fromMSecsSinceEpoch(qint64(time), zone);
}

double startOf(QDate day, const QTimeZone& zone) {
    return double(day.startOfDay(zone).toMSecsSinceEpoch());
}

} // namespace

DateGrouping::DateGrouping(double nowMs, const QTimeZone& zone, const QLocale& locale)
    : zone_(zone), locale_(locale) {
    const QDateTime now = local(nowMs, zone);
    const auto after = [&](int days) { // the first time that is less than that many days ago
        return double(QDateTime(now.date().addDays(-days), now.time(), zone).toMSecsSinceEpoch()) + 1;
    };
    recent_ = {Group{tr("Today"), startOf(now.date(), zone)},
               Group{tr("Yesterday"), startOf(now.date().addDays(-1), zone)},
               Group{tr("Previous 7 Days"), after(7)}, Group{tr("Previous 30 Days"), after(30)}};
    nextMidnight_ = startOf(now.date().addDays(1), zone);
}

DateGrouping::Group DateGrouping::groupOf(double timeMs) const {
    const auto group = std::find_if(recent_.begin(), recent_.end(),
                                    [timeMs](const Group& recent) { return timeMs >= recent.begin; });
    return group != recent_.end() ? *group : monthOf(timeMs);
}

DateGrouping::Group DateGrouping::monthOf(double timeMs) const {
    const QDate day = local(timeMs, zone_).date();
    const QDate first(day.year(), day.month(), 1);
    return {locale_.standaloneMonthName(day.month()) + QLatin1Char(' ') + QString::number(day.year()),
            startOf(first, zone_)};
}

} // namespace teskal
