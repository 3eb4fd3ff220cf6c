#include "ArrayScanner.h"

#include "JsonError.h"

#include <algorithm>
#include <bit>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace teskal::json {

namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

/// Position of the quote that ends the string whose inside begins at \a at; the size of \a text or more when
/// there is none.
qsizetype findStringEnd(QByteArrayView text, qsizetype at) {
#if defined(__SSE2__)
    const __m128i quote = _mm_set1_epi8('"');
    const __m128i backslash = _mm_set1_epi8('\\');
    while (at + 16 <= text.size()) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data() + at));
        const __m128i either = _mm_or_si128(_mm_cmpeq_epi8(bytes, quote), _mm_cmpeq_epi8(bytes, backslash));
        auto hits = unsigned(_mm_movemask_epi8(either));
        qsizetype step = 16;
        while (hits != 0) {
            const int hit = std::countr_zero(hits);
            if (text[at + hit] == '"')
                return at + hit;
            step = std::max<qsizetype>(16, hit + 2); // what follows a backslash never ends the string
            hits &= ~(3U << hit);
        }
        at += step;
    }
#endif
    while (at < text.size() && text[at] != '"')
        at += text[at] == '\\' ? 2 : 1;
    return at;
}

} // namespace

ArrayScanner::ArrayScanner(QByteArrayView text) : text_(text) {
    if (text_.startsWith("\xEF\xBB\xBF"))
        at_ = 3;
    skipSpace();
    if (peek() != '[')
        fail();
    ++at_;
}

std::optional<QByteArrayView> ArrayScanner::next() {
    if (done_)
        return std::nullopt;
    skipSpace();
    if (peek() == ']') {
        ++at_;
        skipSpace();
        if (at_ != text_.size())
            fail();
        done_ = true;
        return std::nullopt;
    }
    if (!first_) {
        if (peek() != ',')
            fail();
        ++at_;
        skipSpace();
    }
    first_ = false;
    const qsizetype begin = at_;
    skipValue();
    if (at_ == begin)
        fail();
    return text_.sliced(begin, at_ - begin);
}

void ArrayScanner::skipSpace() {
    while (at_ < text_.size() && isSpace(text_[at_]))
        ++at_;
}

void ArrayScanner::skipValue() {
    qsizetype depth = 0;
    while (at_ < text_.size()) {
        const char c = text_[at_];
        if (c == '"') {
            skipString();
            continue;
        }
        if (depth == 0 && (c == ',' || c == ']' || c == '}'))
            return;
        if (c == '{' || c == '[')
            ++depth;
        else if (c == '}' || c == ']')
            --depth;
        ++at_;
    }
    fail();
}

void ArrayScanner::skipString() {
    const qsizetype end = findStringEnd(text_, at_ + 1);
    if (end >= text_.size())
        fail();
    at_ = end + 1;
}

char ArrayScanner::peek() const {
    return at_ < text_.size() ? text_[at_] : '\0';
}

void ArrayScanner::fail() const {
    throw JsonError(QStringLiteral("not a JSON array (at byte %1)").arg(at_));
}

} // namespace teskal::json
