#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

namespace teskal::test {

/// A tone of \a hertz, at AudioInput's rate.
QList<float> tone(int ms, float amplitude, double hertz = 440);

/// \a samples at AudioInput's rate as a WAV file, 16 bits.
QByteArray wavFile(const QList<float>& samples);

/// A file of sound as a player sees it.
struct Sound {
    QString format; ///< "codec rate channels", "m4a" in front when the container says so; empty for no sound
    double durationMs = 0;
    QList<float> samples; ///< of the first channel
};

/// Reads the file at \a path to its end.
Sound readSound(const QString& path);
/// The same for the bytes of a file.
Sound readSound(const QByteArray& file);

} // namespace teskal::test
