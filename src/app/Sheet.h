#pragma once

#include <QStringView>

#include <optional>

namespace teskal {

/// The account sheets.
enum class Sheet { Credits, Keys, Routes };

/// "credits", "keys" or "routes".
QString sheetName(Sheet sheet);
/// The sheet of this name; none when there is none.
std::optional<Sheet> sheetNamed(QStringView name);

} // namespace teskal
