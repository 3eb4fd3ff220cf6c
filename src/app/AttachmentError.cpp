#include "AttachmentError.h"

namespace teskal {

AttachmentError AttachmentError::unsupported(const QString& name) {
    return {Kind::Unsupported, name + QStringLiteral(" isn’t a supported file. Attach images or PDFs.")};
}

AttachmentError AttachmentError::tooLarge(const QString& name) {
    return {Kind::TooLarge, name + QStringLiteral(" is over 8 MB.")};
}

AttachmentError AttachmentError::unreadable(const QString& name) {
    return {Kind::Unreadable, QStringLiteral("Couldn’t read %1.").arg(name)};
}

AttachmentError AttachmentError::tooMany() {
    return {Kind::TooMany, QStringLiteral("Attach up to 6 files per message.")};
}

} // namespace teskal
