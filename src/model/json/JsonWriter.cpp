#include "JsonWriter.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace teskal {

namespace {

constexpr qsizetype block = 4096;      // code units per reservation
constexpr qsizetype longestEscape = 6; // "\u001f"

/// Whether \a unit stands for itself, in one byte.
bool isPlain(char16_t unit) {
    return unit >= 0x20 && unit <= 0x7F && unit != u'"' && unit != u'\\';
}

#if defined(__SSE2__)
/// One bit for each of the sixteen code units that \a low and \a high hold and that is not plain ASCII or
/// needs an escape. \a bytes are the units packed to bytes with saturation.
unsigned specialUnits(__m128i low, __m128i high, __m128i bytes) {
    const __m128i beyondAscii = _mm_set1_epi16(short(0xFF80));
    const __m128i plainLow = _mm_cmpeq_epi16(_mm_and_si128(low, beyondAscii), _mm_setzero_si128());
    const __m128i plainHigh = _mm_cmpeq_epi16(_mm_and_si128(high, beyondAscii), _mm_setzero_si128());
    const __m128i ascii = _mm_packs_epi16(plainLow, plainHigh);
    const __m128i escaped = _mm_or_si128(
        _mm_or_si128(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('"')), _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'))),
        _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(0x1F)), bytes));
    return unsigned(_mm_movemask_epi8(_mm_andnot_si128(escaped, ascii))) ^ 0xFFFF;
}
#endif

/// Copies the leading code units that are plain ASCII and need no escape, sixteen at a time; returns how
/// many. May write up to \a count bytes to \a out, whatever it returns.
qsizetype copyPlain(const char16_t* in, qsizetype count, char* out) {
    qsizetype done = 0;
#if defined(__SSE2__)
    for (; done + 16 <= count; done += 16) {
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + done));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + done + 8));
        const __m128i bytes = _mm_packus_epi16(low, high);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + done), bytes);
        if (const unsigned special = specialUnits(low, high, bytes))
            return done + std::countr_zero(special);
    }
#endif
    for (; done < count; ++done) {
        if (!isPlain(in[done]))
            break;
        out[done] = char(in[done]);
    }
    return done;
}

/// The letter behind the backslash for each ASCII character that has such a form.
constexpr auto shortEscapes = [] {
    std::array<char, 128> letters{};
    letters['"'] = '"';
    letters['\\'] = '\\';
    letters['\n'] = 'n';
    letters['\r'] = 'r';
    letters['\t'] = 't';
    return letters;
}();

char* putEscape(char16_t unit, char* out) {
    static constexpr char digits[] = "0123456789abcdef";
    *out++ = '\\';
    // Looked up rather than switched on: which escape comes next is not predictable, and a wrong guess costs
    // more than the rest.
    if (const char letter = shortEscapes[unit]) {
        *out++ = letter;
        return out;
    }
    *out++ = 'u';
    *out++ = '0';
    *out++ = '0';
    *out++ = digits[(unit >> 4) & 0xF];
    *out++ = digits[unit & 0xF];
    return out;
}

char* putUtf8(char32_t point, char* out) {
    const auto tail = [](char32_t bits) { return char(0x80 | (bits & 0x3F)); };
    if (point < 0x80) {
        *out++ = char(point);
    } else if (point < 0x800) {
        *out++ = char(0xC0 | (point >> 6));
        *out++ = tail(point);
    } else if (point < 0x10000) {
        *out++ = char(0xE0 | (point >> 12));
        *out++ = tail(point >> 6);
        *out++ = tail(point);
    } else {
        *out++ = char(0xF0 | (point >> 18));
        *out++ = tail(point >> 12);
        *out++ = tail(point >> 6);
        *out++ = tail(point);
    }
    return out;
}

/// Writes the character at \a in, which is not plain, and moves \a in behind it.
char* putSpecial(const char16_t*& in, const char16_t* end, char* out) {
    const char16_t unit = *in++;
    if (unit <= 0x7F)
        return putEscape(unit, out);
    if (!QChar::isSurrogate(unit))
        return putUtf8(unit, out);
    if (QChar::isHighSurrogate(unit) && in != end && QChar::isLowSurrogate(*in))
        return putUtf8(QChar::surrogateToUcs4(unit, *in++), out);
    return putUtf8(QChar::ReplacementCharacter, out); // a lone half has no UTF-8 form
}

} // namespace

char* JsonWriter::room(qsizetype count) {
    if (size_ + count > buffer_.size())
        buffer_.resize(std::max(size_ + count, buffer_.size() + buffer_.size() / 2));
    return buffer_.data() + size_;
}

void JsonWriter::append(std::string_view bytes) {
    const auto count = qsizetype(bytes.size());
    std::memcpy(room(count), bytes.data(), bytes.size());
    size_ += count;
}

void JsonWriter::separate() {
    if (needsComma_)
        append(",");
    needsComma_ = true;
}

void JsonWriter::open(char bracket) {
    separate();
    append({&bracket, 1});
    needsComma_ = false;
}

void JsonWriter::close(char bracket) {
    append({&bracket, 1});
    needsComma_ = true;
}

void JsonWriter::literal(std::string_view text) {
    separate();
    append(text);
}

void JsonWriter::key(std::string_view name) {
    separate();
    append("\"");
    append(name);
    append("\":");
    needsComma_ = false;
}

void JsonWriter::key(QStringView name) {
    separate();
    quoted(name);
    append(":");
    needsComma_ = false;
}

void JsonWriter::string(QStringView text) {
    separate();
    quoted(text);
}

void JsonWriter::quoted(QStringView text) {
    const char16_t* in = text.utf16();
    const char16_t* const end = in + text.size();
    append("\"");
    while (in != end) {
        const qsizetype count = std::min<qsizetype>(block, end - in);
        const char16_t* const blockEnd = in + count;
        char* const begin = room((count + 1) * longestEscape);
        char* out = begin;
        while (in < blockEnd) {
            const qsizetype plain = copyPlain(in, blockEnd - in, out);
            in += plain;
            out += plain;
            while (in < blockEnd && !isPlain(*in))
                out = putSpecial(in, end, out);
        }
        size_ += out - begin;
    }
    append("\"");
}

void JsonWriter::number(double value) {
    constexpr double exactIntegers = 9007199254740992.0; // 2^53
    char text[32];
    std::to_chars_result result{};
    if (!std::isfinite(value))
        return null();
    if (value == std::floor(value) && std::fabs(value) < exactIntegers)
        result = std::to_chars(text, text + sizeof text, qint64(value));
    else
        result = std::to_chars(text, text + sizeof text, value);
    literal({text, std::size_t(result.ptr - text)});
}

void JsonWriter::value(const JSONValue& any) {
    if (const QString* text = any.string()) {
        string(*text);
    } else if (const double* real = any.number()) {
        number(*real);
    } else if (const bool* truth = any.boolean()) {
        boolean(*truth);
    } else if (const JSONValue::Object* members = any.object()) {
        beginObject();
        for (auto it = members->cbegin(); it != members->cend(); ++it) {
            key(QStringView(it.key()));
            value(it.value());
        }
        endObject();
    } else if (const JSONValue::Array* elements = any.array()) {
        beginArray();
        for (const JSONValue& element : *elements)
            value(element);
        endArray();
    } else {
        null();
    }
}

void JsonWriter::raw(QByteArrayView json) {
    literal({json.data(), std::size_t(json.size())});
}

QByteArray JsonWriter::take() {
    buffer_.resize(size_);
    size_ = 0;
    needsComma_ = false;
    return std::exchange(buffer_, {});
}

QByteArray jsonString(QStringView text) {
    JsonWriter writer;
    writer.string(text);
    return writer.take();
}

} // namespace teskal
