#include "BalanceLine.h"

#include <QCoreApplication>
#include <QLocale>

namespace teskal {

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("BalanceLine", text);
}

/// The C locale, which is none of a user's, writes no separators.
QLocale userLocale() {
    const QLocale locale;
    return locale.language() == QLocale::C ? QLocale(QLocale::English) : locale;
}

} // namespace

QString balanceLine(const std::optional<Billing>& billing, bool failed) {
    if (!billing)
        return failed ? tr("Balance unavailable") : QString();
    if (!billing->enabled)
        return tr("Free on this deployment");
    if (!billing->balance)
        return tr("Balance unavailable");
    return tr("%1 credits").arg(userLocale().toString(*billing->balance));
}

QString balanceLine(const Balance& balance) {
    return balanceLine(balance.billing(), !balance.error().isEmpty());
}

} // namespace teskal
