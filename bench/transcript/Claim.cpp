#include "Claim.h"

#include <QStringList>

#include <cstdio>

namespace teskal::bench {

namespace {

QString number(double value, const QString& unit) {
    return QStringLiteral("%1 %2").arg(value, 0, 'f', value < 10 ? 2 : 1).arg(unit);
}

QString ratio(double value) {
    return QString::number(value, 'f', value < 0.1 ? 4 : 2);
}

QString aimOf(const Claim& claim) {
    QStringList aims;
    if (claim.maxValue)
        aims += QStringLiteral("<= ") + number(*claim.maxValue, claim.unit);
    if (claim.maxRatio)
        aims += QStringLiteral("ratio <= ") + ratio(*claim.maxRatio);
    if (claim.maxDifference)
        aims += QStringLiteral("floor + ") + number(*claim.maxDifference, claim.unit);
    return aims.join(QStringLiteral(", "));
}

void printLine(const QString& what, const QString& floor, const QString& ours, const QString& quotient,
               const QString& aim, const QString& verdict) {
    std::printf("  %-52s %-42s %12s %8s   %-18s %s\n", qPrintable(what), qPrintable(floor), qPrintable(ours),
                qPrintable(quotient), qPrintable(aim), qPrintable(verdict));
}

void print(const Claim& claim) {
    QString floor = claim.against;
    QString quotient;
    if (claim.floor) {
        floor += QStringLiteral(": ") + number(*claim.floor, claim.unit);
        quotient = ratio(claim.ours / *claim.floor);
    }
    const QString verdict = !claim.hasAim() ? QString()
                            : claim.held()  ? QStringLiteral("held")
                                            : QStringLiteral("MISSED");
    printLine(claim.what, floor, number(claim.ours, claim.unit), quotient, aimOf(claim), verdict);
}

} // namespace

bool Claim::held() const {
    const double base = floor.value_or(0);
    return (!maxValue || ours <= *maxValue) && (!maxRatio || ours <= *maxRatio * base) &&
           (!maxDifference || ours <= base + *maxDifference);
}

void printClaims(const QString& title, const QList<Claim>& claims) {
    std::printf("\n%s\n", qPrintable(title));
    printLine(QStringLiteral("what"), QStringLiteral("floor"), QStringLiteral("ours"),
              QStringLiteral("ratio"), QStringLiteral("aim"), {});
    for (const Claim& claim : claims)
        print(claim);
    std::fflush(stdout);
}

} // namespace teskal::bench
