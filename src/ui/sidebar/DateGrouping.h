#pragma once

#include <QCoreApplication>
#include <QLocale>
#include <QString>
#include <QTimeZone>

#include <array>

namespace teskal {

/// The groups by which chats are listed, seen from one moment: "Today", "Yesterday", "Previous 7 Days",
/// "Previous 30 Days", then a group for each month. Days are those of a calendar in \a zone, and a chat is as
/// many days old as whole days have passed, to the time of the day. What lies in the future counts as today.
class DateGrouping {
    Q_DECLARE_TR_FUNCTIONS(DateGrouping)

public:
    struct Group {
        QString title;    ///< tells the groups apart
        double begin = 0; ///< the earliest time in it, ms since 1970
    };

    /// \a nowMs is in ms since 1970; \a locale names the months.
    DateGrouping(double nowMs, const QTimeZone& zone, const QLocale& locale);

    /// The group of \a timeMs, in ms since 1970. It reaches to the beginning of the next newer one.
    [[nodiscard]] Group groupOf(double timeMs) const;
    /// When the next day begins, in ms since 1970.
    [[nodiscard]] double nextMidnight() const { return nextMidnight_; }

private:
    [[nodiscard]] Group monthOf(double timeMs) const;

    QTimeZone zone_;
    QLocale locale_;
    std::array<Group, 4> recent_; ///< newest first
    double nextMidnight_;
};

} // namespace teskal
