#include "Transcoder.h"

namespace teskal {

namespace {

const iconv_t none = iconv_t(-1); // as iconv_open() fails

std::optional<QByteArray> turned(iconv_t turner, QByteArray from) {
    if (turner == none)
        return std::nullopt;
    QByteArray to(from.size() * 4, Qt::Uninitialized); // no letter takes more in any encoding
    char* in = from.data();
    char* out = to.data();
    size_t inLeft = size_t(from.size());
    size_t outLeft = size_t(to.size());
    iconv(turner, nullptr, nullptr, nullptr, nullptr); // as if nothing had been turned before
    if (iconv(turner, &in, &inLeft, &out, &outLeft) == size_t(-1))
        return std::nullopt;
    to.chop(qsizetype(outLeft));
    return to;
}

} // namespace

Transcoder::Transcoder(const QByteArray& encoding)
    : encoder_(iconv_open(encoding.constData(), "UTF-8")),
      decoder_(iconv_open("UTF-8", encoding.constData())) {}

Transcoder::~Transcoder() {
    for (iconv_t turner : {encoder_, decoder_}) {
        if (turner != none)
            iconv_close(turner);
    }
}

std::optional<QByteArray> Transcoder::encode(const QString& text) const {
    return turned(encoder_, text.toUtf8());
}

std::optional<QString> Transcoder::decode(const QByteArray& bytes) const {
    const auto text = turned(decoder_, bytes);
    return text ? std::optional(QString::fromUtf8(*text)) : std::nullopt;
}

} // namespace teskal
