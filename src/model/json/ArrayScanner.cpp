#include "ArrayScanner.h"

#include "JsonError.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace teskal::json {

namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

/// Position of the next quote or backslash at or after \a at, or the size of \a text.
qsizetype findStringEvent(QByteArrayView text, qsizetype at) {
#if defined(__SSE2__)
    const __m128i quote = _mm_set1_epi8('"');
    const __m128i backslash = _mm_set1_epi8('\\');
    for (; at + 16 <= text.size(); at += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data() + at));
        const int hits = _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi8(bytes, quote), _mm_cmpeq_epi8(bytes, backslash)));
        if (hits != 0)
            return at + __builtin_ctz(unsigned(hits));
    }
#endif
    while (at < text.size() && text[at] != '"' && text[at] != '\\')
        ++at;
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
    for (qsizetype at = at_ + 1;;) {
        at = findStringEvent(text_, at);
        if (at >= text_.size())
            fail();
        if (text_[at] == '"') {
            at_ = at + 1;
            return;
        }
        at += 2;
    }
}

char ArrayScanner::peek() const {
    return at_ < text_.size() ? text_[at_] : '\0';
}

void ArrayScanner::fail() const {
    throw JsonError(QStringLiteral("not a JSON array (at byte %1)").arg(at_));
}

} // namespace teskal::json
