#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <utility>

namespace teskal {

/// Names and values of a form, in order.
using FormFields = QList<std::pair<QString, QString>>;

/// \a fields as name=value pairs joined by "&". Only ASCII letters, digits and "-._~" stay literal; every
/// other byte of the UTF-8 form, a space included, becomes %XX.
QByteArray formEncoded(const FormFields& fields);

} // namespace teskal
