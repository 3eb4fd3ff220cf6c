#include "Sound.h"

#include "Encoding.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace teskal::service {

namespace {

constexpr int sampleRate = 16'000; ///< per second
constexpr double turn = 2 * 3.14159265358979;

/// A tone that swells up and fades away.
struct Note {
    double pitch = 0;   ///< Hz; 0 is silence
    double seconds = 0; ///< at least a few ms
    double loudness = 0.3;
};

std::string littleEndian(std::uint32_t value, int bytes) {
    std::string out;
    for (int i = 0; i < bytes; ++i)
        out += static_cast<char>(value >> (8 * i));
    return out;
}

/// The canonical header of 44 bytes: RIFF, a PCM "fmt " chunk, then the samples.
std::string wavFile(const std::string& samples) {
    const auto size = static_cast<std::uint32_t>(samples.size());
    return "RIFF" + littleEndian(36 + size, 4) + "WAVEfmt " + littleEndian(16, 4) + littleEndian(1, 2) +
           littleEndian(1, 2) + littleEndian(sampleRate, 4) + littleEndian(2 * sampleRate, 4) +
           littleEndian(2, 2) + littleEndian(16, 2) + "data" + littleEndian(size, 4) + samples;
}

void play(const Note& note, std::string& samples) {
    const int count = static_cast<int>(note.seconds * sampleRate);
    for (int i = 0; i < count; ++i) {
        const double time = double(i) / sampleRate;
        const double rise = std::min(1.0, time / 0.02);
        const double fall = std::min(1.0, (note.seconds - time) / (0.5 * note.seconds));
        const double wave =
            std::sin(turn * note.pitch * time) + 0.25 * std::sin(2 * turn * note.pitch * time);
        const double value = note.loudness * rise * fall * wave / 1.25;
        samples += littleEndian(static_cast<std::uint16_t>(static_cast<std::int16_t>(value * 32'000)), 2);
    }
}

std::string wavOf(const std::vector<Note>& notes) {
    std::string samples;
    for (const Note& note : notes)
        play(note, samples);
    return wavFile(samples);
}

/// The five tones of a pentatonic scale on A, over two octaves: no two of them clash.
double pitchOf(unsigned step) {
    static constexpr std::array<int, 5> semitones = {0, 2, 4, 7, 9};
    const int semitone = semitones[step % 5] + 12 * static_cast<int>(step / 5 % 2);
    return 220 * std::pow(2, semitone / 12.0);
}

} // namespace

std::string melody(std::string_view prompt) {
    const std::string seed = sha256(prompt);
    std::vector<Note> notes;
    for (std::size_t bar = 0; bar < 8; ++bar) {
        for (std::size_t beat = 0; beat < 4; ++beat) {
            // The second half repeats the first, which is what makes it a tune.
            const auto byte = static_cast<unsigned char>(seed[(bar % 4) * 4 + beat]);
            notes.push_back({byte % 7 == 0 ? 0 : pitchOf(byte), 0.375, 0.4});
        }
    }
    return wavOf(notes);
}

std::string murmur(std::string_view text) {
    constexpr double longest = 30;
    std::vector<Note> notes;
    double length = 0;
    unsigned letters = 0;
    unsigned sum = 0;
    const auto endWord = [&] {
        const double seconds = std::min(0.12 + 0.05 * std::min(letters, 12u), longest - length);
        if (letters > 0 && seconds > 0.01) {
            notes.push_back({pitchOf(sum), seconds, 0.2});
            length += seconds;
        }
        letters = sum = 0;
    };
    for (const char c : text) {
        if (static_cast<unsigned char>(c) <= ' ') {
            endWord();
        } else {
            ++letters;
            sum += static_cast<unsigned char>(c);
        }
    }
    endWord();
    return wavOf(notes);
}

} // namespace teskal::service
