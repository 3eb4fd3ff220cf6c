#include "JsonRepair.h"

#include <QLocale>
#include <QString>

#include <algorithm>
#include <cmath>

namespace teskal::json {

namespace {

/// The code unit of the escape "\uXXXX" at \a position, or -1.
int escapedUnit(const QByteArray& text, qsizetype position) {
    if (position + 6 > text.size() || text[position] != '\\' || text[position + 1] != 'u')
        return -1;
    bool ok = false;
    const int unit = text.mid(position + 2, 4).toInt(&ok, 16);
    return ok ? unit : -1;
}

bool isHighSurrogate(int unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool isLowSurrogate(int unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// Walks over the text and copies it in long runs; only what is mended interrupts a run.
class Repair {
public:
    explicit Repair(const QByteArray& text) : text_(text) { out_.reserve(text.size() + 64); }

    QByteArray run() {
        while (at_ < text_.size()) {
            const char c = text_[at_];
            if (c == '"')
                passString();
            else if (c == '-' || (c >= '0' && c <= '9'))
                passNumber();
            else
                ++at_;
        }
        replace(0, {});
        return out_;
    }

private:
    /// Puts \a with in the place of the next \a count bytes.
    void replace(qsizetype count, QByteArrayView with) {
        out_.append(QByteArrayView(text_).sliced(copied_, at_ - copied_)).append(with);
        at_ += count;
        copied_ = at_;
    }

    void passString() {
        ++at_;
        while (at_ < text_.size()) {
            const char c = text_[at_];
            if (c == '\\')
                passEscape();
            else
                ++at_;
            if (c == '"')
                return;
        }
    }

    void passEscape() {
        const int unit = escapedUnit(text_, at_);
        if (isHighSurrogate(unit) && isLowSurrogate(escapedUnit(text_, at_ + 6)))
            at_ += 12;
        else if (isHighSurrogate(unit) || isLowSurrogate(unit))
            replace(6, "\\ufffd");
        else
            at_ = std::min(at_ + 2, text_.size());
    }

    void passNumber() {
        qsizetype end = at_;
        bool integer = true;
        while (end < text_.size()) {
            const char c = text_[end];
            const bool digit = c >= '0' && c <= '9';
            if (!digit && c != '-' && c != '+' && c != '.' && c != 'e' && c != 'E')
                break;
            integer = integer && (digit || end == at_);
            ++end;
        }
        const QByteArray token = text_.mid(at_, end - at_);
        // Not strtod, whose decimal point is the user's, nor QByteArray::toDouble, which makes 0 of a large
        // one.
        if (std::isinf(QLocale::c().toDouble(QString::fromLatin1(token)))) {
            replace(token.size(), "null");
        } else {
            at_ = end;
            if (integer && token.size() > 18)
                replace(0, "e0");
        }
    }

    const QByteArray& text_;
    QByteArray out_;
    qsizetype at_ = 0;
    qsizetype copied_ = 0; ///< what comes before is in out_
};

} // namespace

QByteArray repaired(QByteArrayView text) {
    const QByteArray utf8 = QString::fromUtf8(text).toUtf8();
    return Repair(utf8).run();
}

} // namespace teskal::json
