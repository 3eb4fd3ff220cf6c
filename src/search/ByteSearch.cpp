#include "ByteSearch.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace teskal {

namespace {

constexpr qsizetype blockSize = 16;
using Block = unsigned char __attribute__((vector_size(blockSize)));
using Words = std::uint64_t __attribute__((vector_size(blockSize)));

Block load(const char* from) {
    Block block;
    std::memcpy(&block, from, sizeof block);
    return block;
}

bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// The place of the byte that tells most of the part's first character: in many scripts all characters begin
/// with the same byte.
qsizetype tellingByte(QByteArrayView part) {
    qsizetype place = 0;
    while (place + 1 < part.size() && isContinuation(part[place + 1]))
        ++place;
    return place + 1 < part.size() ? place : 0;
}

/// Whether \a part is at one of the places, counted from \a at, whose bytes in \a found are not 0.
bool isAtOneOf(const Block& found, const char* at, QByteArrayView part) {
    const auto words = std::bit_cast<std::array<std::uint64_t, blockSize / 8>>(found);
    for (std::size_t word = 0; word < words.size(); ++word) {
        if (words[word] == 0)
            continue;
        for (std::size_t byte = word * 8; byte < word * 8 + 8; ++byte)
            if (found[byte] != 0 && std::memcmp(at + byte, part.data(), std::size_t(part.size())) == 0)
                return true;
    }
    return false;
}

bool isAny(const Block& found) {
    const auto words = std::bit_cast<Words>(found);
    return (words[0] | words[1]) != 0;
}

} // namespace

bool containsBytes(QByteArrayView text, QByteArrayView part) {
    if (part.isEmpty())
        return true;
    const qsizetype first = tellingByte(part);
    const qsizetype last = part.size() - 1;
    const Block firstByte = Block{} + static_cast<unsigned char>(part[first]);
    const Block lastByte = Block{} + static_cast<unsigned char>(part[last]);
    qsizetype at = 0;
    for (; at + last + blockSize <= text.size(); at += blockSize) {
        const char* place = text.data() + at;
        const auto found =
            std::bit_cast<Block>((load(place + first) == firstByte) & (load(place + last) == lastByte));
        if (isAny(found) && isAtOneOf(found, place, part))
            return true;
    }
    const QByteArrayView rest = text.sliced(at);
    return !rest.isEmpty() &&
           memmem(rest.data(), std::size_t(rest.size()), part.data(), std::size_t(part.size())) != nullptr;
}

} // namespace teskal
