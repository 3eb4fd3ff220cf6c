#include "FoldedText.h"

#include <QLocale>

namespace teskal {

QByteArray foldedText(const QString& text) {
    // Again after the change of case: some capitals become two characters.
    return QLocale()
        .toLower(text.normalized(QString::NormalizationForm_C))
        .normalized(QString::NormalizationForm_C)
        .toUtf8();
}

} // namespace teskal
