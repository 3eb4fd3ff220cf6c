#pragma once

#include <QPixmap>
#include <QString>

namespace teskal {

/// A file of the draft as its chip shows it.
struct ComposerFile {
    quint64 number = 0; ///< what the file is known by while the draft lives
    QString name;
    QString mediaType;
    bool preparing = false; ///< it is still being read or encoded
    QPixmap thumbnail;      ///< of an image that decodes; null otherwise
};

} // namespace teskal
