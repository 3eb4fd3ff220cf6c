#include "ByteSearch.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

namespace teskal {

namespace {

constexpr qsizetype blockSize = 16;
constexpr qsizetype groupSize =
    4 * blockSize; ///< looked at before anything is decided: the memory is the limit
using Block = unsigned char __attribute__((vector_size(blockSize)));
using Words = std::uint64_t __attribute__((vector_size(blockSize)));
/// For each byte of a group 255 or 0.
using Marks = std::array<Block, groupSize / blockSize>;

Block load(const char* from) {
    Block block;
    std::memcpy(&block, from, sizeof block);
    return block;
}

/// How common a byte is in texts, compared with others. What stands in \c letters is so in about this order
/// in the languages of Europe; other scripts begin all their characters with the same one or two bytes.
std::size_t commonness(char byte) {
    constexpr std::string_view letters = "qxzjkwvybfgp,.mchdulsrnitoae\n ";
    constexpr unsigned char firstContinuation = 0x80;
    constexpr unsigned char firstLead = 0xC0;
    const auto value = static_cast<unsigned char>(byte);
    if (value >= firstLead)
        return letters.size() + 1;
    if (value >= firstContinuation)
        return letters.size() / 2;
    return letters.find(byte) + 1; // 0 for what is rarer still: the search ends at npos
}

/// The place of the byte of \a part that is the rarest, apart from \a other.
qsizetype rarestByte(QByteArrayView part, qsizetype other = -1) {
    qsizetype rarest = other == 0 && part.size() > 1 ? 1 : 0;
    for (qsizetype place = rarest + 1; place < part.size(); ++place)
        if (place != other && commonness(part[place]) < commonness(part[rarest]))
            rarest = place;
    return rarest;
}

bool isAny(const Block& marks) {
    const auto words = std::bit_cast<Words>(marks);
    return (words[0] | words[1]) != 0;
}

/// Whether \a part is at one of the marked places, counted from \a at.
bool isAtOneOf(const Marks& marks, const char* at, QByteArrayView part) {
    const auto words = std::bit_cast<std::array<std::uint64_t, groupSize / 8>>(marks);
    const auto bytes = std::bit_cast<std::array<unsigned char, groupSize>>(marks);
    for (std::size_t word = 0; word < words.size(); ++word) {
        if (words[word] == 0)
            continue;
        for (std::size_t byte = word * 8; byte < word * 8 + 8; ++byte)
            if (bytes[byte] != 0 && std::memcmp(at + byte, part.data(), std::size_t(part.size())) == 0)
                return true;
    }
    return false;
}

} // namespace

ByteSearch::ByteSearch(QByteArray part) : part_(std::move(part)) {
    first_ = rarestByte(part_);
    second_ = rarestByte(part_, first_);
}

bool ByteSearch::isIn(QByteArrayView text) const {
    if (part_.isEmpty())
        return true;
    const Block firstByte = Block{} + static_cast<unsigned char>(part_[first_]);
    const Block secondByte = Block{} + static_cast<unsigned char>(part_[second_]);
    qsizetype at = 0;
    for (; at + part_.size() - 1 + groupSize <= text.size(); at += groupSize) {
        const char* place = text.data() + at;
        Marks marks;
        Block any{};
        for (std::size_t block = 0; block < marks.size(); ++block) {
            const char* const from = place + qsizetype(block) * blockSize;
            marks[block] = std::bit_cast<Block>((load(from + first_) == firstByte) &
                                                (load(from + second_) == secondByte));
            any |= marks[block];
        }
        if (isAny(any) && isAtOneOf(marks, place, part_))
            return true;
    }
    const QByteArrayView rest = text.sliced(at);
    return !rest.isEmpty() &&
           memmem(rest.data(), std::size_t(rest.size()), part_.data(), std::size_t(part_.size())) != nullptr;
}

} // namespace teskal
