#pragma once

#include <QCoroTask>

#include <QString>

namespace teskal::test {

/// What a token provider of a test returns.
inline QCoro::Task<QString> readyToken(QString token = u"token"_qs) {
    co_return token;
}

} // namespace teskal::test
