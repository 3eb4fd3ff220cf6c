#include "JsNumber.h"

#include <charconv>
#include <cmath>
#include <cstdlib>

namespace teskal {

namespace {

/// A positive number as 0.DIGITS times ten to the power of \a point.
struct Decimal {
    QLatin1String digits;
    int point;
};

/// Arranges what std::to_chars wrote in its scientific form, such as "1.25e+02".
class ShortestDigits {
public:
    explicit ShortestDigits(double positive) {
        const auto end = std::to_chars(text_, text_ + sizeof text_, positive, std::chars_format::scientific);
        char* out = digits_;
        const char* in = text_;
        for (; *in != 'e'; ++in)
            if (*in != '.')
                *out++ = *in;
        const char* exponent = in + (in[1] == '+' ? 2 : 1); // from_chars takes no plus sign
        int power = 0;
        std::from_chars(exponent, end.ptr, power);
        decimal_ = {QLatin1String(digits_, out - digits_), power + 1};
    }
    const Decimal& decimal() const { return decimal_; }

private:
    char text_[32];
    char digits_[32];
    Decimal decimal_;
};

QString zeros(int count) {
    return QString(count, QLatin1Char('0'));
}

// The steps of Number::toString in ECMA-262, with its k (number of digits) and n (place of the point).
QString arranged(const Decimal& decimal) {
    const QString digits = decimal.digits;
    const int k = int(digits.size());
    const int n = decimal.point;
    if (k <= n && n <= 21)
        return digits + zeros(n - k);
    if (0 < n && n <= 21)
        return digits.left(n) + QLatin1Char('.') + digits.mid(n);
    if (-6 < n && n <= 0)
        return QStringLiteral("0.") + zeros(-n) + digits;
    const QString fraction = k > 1 ? QLatin1Char('.') + digits.mid(1) : QString();
    return digits.left(1) + fraction + QLatin1String(n > 0 ? "e+" : "e-") + QString::number(std::abs(n - 1));
}

} // namespace

QString jsNumber(double value) {
    if (std::isnan(value))
        return QStringLiteral("NaN");
    if (value == 0)
        return QStringLiteral("0");
    constexpr double exactIntegers = 9007199254740992; // 2^53; below it an integer's digits are the shortest
    if (std::fabs(value) < exactIntegers && value == std::floor(value))
        return QString::number(qint64(value));
    const QString sign = value < 0 ? QStringLiteral("-") : QString();
    if (std::isinf(value))
        return sign + QStringLiteral("Infinity");
    const ShortestDigits shortest(std::fabs(value));
    return sign + arranged(shortest.decimal());
}

} // namespace teskal
