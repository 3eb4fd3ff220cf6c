#pragma once

#include <QList>

namespace teskal {

/// How loud \a samples (-1 to 1) are on average: their root mean square in decibels of full scale. Minus
/// infinity for silence and for none.
double decibels(const QList<float>& samples);

/// The part of a level meter that lights up at \a decibels: nothing at -50 and below, all (1) at 0.
float meterLevel(double decibels);

} // namespace teskal
