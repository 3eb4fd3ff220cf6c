#include "HevcConfiguration.h"

#include <QByteArray>
#include <QtEndian>

#include <algorithm>

namespace teskal {

namespace {

constexpr int sequenceParameterSet = 33; // ITU-T H.265, table 7-1
constexpr int mostLeadingZeros = 31;

/// Reads bits from the front; zeros beyond the end.
class Bits {
public:
    explicit Bits(QByteArrayView bytes) : bytes_(bytes) {}

    quint32 take(int count) {
        quint32 value = 0;
        while (count-- > 0)
            value = value << 1 | bit();
        return value;
    }
    void skip(int count) { at_ += count; }
    /// ue(v): ITU-T H.265, 9.2.
    quint32 takeCode() {
        int zeros = 0;
        while (zeros < mostLeadingZeros && bit() == 0)
            ++zeros;
        return (1u << zeros) - 1 + take(zeros);
    }

private:
    quint32 bit() {
        const qsizetype at = at_++;
        return at / 8 < bytes_.size() ? uchar(bytes_[at / 8]) >> (7 - at % 8) & 1u : 0;
    }

    QByteArrayView bytes_;
    qsizetype at_ = 0;
};

/// profile_tier_level(): ITU-T H.265, 7.3.3.
void skipProfile(Bits& bits, int layers) {
    constexpr int profileBits = 88, levelBits = 8;
    bits.skip(profileBits + levelBits);
    int more = 0;
    for (int layer = 0; layer < layers; ++layer)
        more += (bits.take(1) ? profileBits : 0) + (bits.take(1) ? levelBits : 0);
    if (layers > 0)
        bits.skip(2 * (8 - layers));
    bits.skip(more);
}

/// ITU-T H.265, 7.3.2.2.
QSize pictureSize(QByteArray unit) {
    unit.replace(QByteArrayView("\0\0\3", 3), QByteArrayView("\0\0", 2)); // 7.4.2
    Bits bits(unit);
    bits.skip(16 + 4);
    const auto layers = int(bits.take(3));
    bits.skip(1);
    skipProfile(bits, layers);
    bits.takeCode();
    if (bits.takeCode() == 3)
        bits.skip(1);
    const auto side = [&bits] { return int(std::min(bits.takeCode(), quint32(1) << 24)); };
    const int width = side();
    return {width, side()};
}

} // namespace

QSize hevcPictureSize(QByteArrayView configuration) {
    constexpr qsizetype fixedPart = 22;
    QSize largest;
    qsizetype at = fixedPart;
    const auto number = [&](qsizetype size) {
        quint32 value = 0;
        for (; size > 0; --size, ++at)
            value = value << 8 | (at < configuration.size() ? uchar(configuration[at]) : 0);
        return value;
    };
    for (quint32 arrays = number(1); arrays > 0; --arrays) {
        const bool isWanted = (number(1) & 63) == sequenceParameterSet;
        for (quint32 units = number(2); units > 0 && at < configuration.size(); --units) {
            const auto size = qsizetype(number(2));
            if (isWanted && at + size <= configuration.size())
                largest = largest.expandedTo(pictureSize(configuration.sliced(at, size).toByteArray()));
            at += size;
        }
    }
    return largest;
}

} // namespace teskal
