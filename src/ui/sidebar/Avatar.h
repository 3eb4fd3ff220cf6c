#pragma once

#include <QString>

class QImage;
class QPainter;
class QRectF;

namespace teskal {

class Theme;

/// A disc with the picture or the initials of a person.
namespace Avatar {

/// The first letters of the first and the last word of \a name, in upper case; of an address one letter.
QString initials(const QString& name);

void paint(QPainter& painter, const QRectF& rect, const QString& name, const Theme& theme);
/// The middle of \a picture.
void paint(QPainter& painter, const QRectF& rect, const QImage& picture);

} // namespace Avatar
} // namespace teskal
