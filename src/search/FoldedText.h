#pragma once

#include <QByteArray>
#include <QString>

namespace teskal {

/// \a text in the form in which two spellings of the same words are the same bytes: composed (NFC), in lower
/// case by the rules of the user's locale, as UTF-8. Accents count; a run of blanks with a line break in it
/// is one line break. Any thread.
QByteArray foldedText(const QString& text);

} // namespace teskal
