#include "JsonRepair.h"

#include <QString>

#include <cmath>
#include <cstdlib>

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

class Repair {
public:
    explicit Repair(const QByteArray& text) : text_(text) { out_.reserve(text.size() + 64); }

    QByteArray run() {
        while (at_ < text_.size()) {
            const char c = text_[at_];
            if (c == '"')
                copyString();
            else if (c == '-' || (c >= '0' && c <= '9'))
                copyNumber();
            else
                take(1);
        }
        return out_;
    }

private:
    void take(qsizetype count) {
        out_.append(text_.constData() + at_, std::min(count, text_.size() - at_));
        at_ += count;
    }

    void copyString() {
        take(1);
        while (at_ < text_.size()) {
            const char c = text_[at_];
            if (c == '\\')
                copyEscape();
            else
                take(1);
            if (c == '"')
                return;
        }
    }

    void copyEscape() {
        const int unit = escapedUnit(text_, at_);
        if (isHighSurrogate(unit) && isLowSurrogate(escapedUnit(text_, at_ + 6)))
            take(12);
        else if (isHighSurrogate(unit) || isLowSurrogate(unit)) {
            out_.append("\\ufffd");
            at_ += 6;
        } else
            take(2);
    }

    void copyNumber() {
        const qsizetype begin = at_;
        qsizetype end = at_;
        bool integer = true;
        while (end < text_.size()) {
            const char c = text_[end];
            const bool digit = c >= '0' && c <= '9';
            if (!digit && c != '-' && c != '+' && c != '.' && c != 'e' && c != 'E')
                break;
            integer = integer && (digit || end == begin);
            ++end;
        }
        const QByteArray token = text_.mid(begin, end - begin);
        at_ = end;
        if (!std::isfinite(std::strtod(token.constData(), nullptr)))
            out_.append("null");
        else if (integer && token.size() > 18)
            out_.append(token).append("e0");
        else
            out_.append(token);
    }

    const QByteArray& text_;
    QByteArray out_;
    qsizetype at_ = 0;
};

} // namespace

QByteArray repaired(QByteArrayView text) {
    const QByteArray utf8 = QString::fromUtf8(text).toUtf8();
    return Repair(utf8).run();
}

} // namespace teskal::json
