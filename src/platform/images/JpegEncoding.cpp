#include "JpegEncoding.h"

#include <QImageWriter>

namespace teskal {

namespace {

/// Keeps what is written, and fails with the first byte beyond a limit.
class LimitedBuffer final : public QIODevice {
public:
    explicit LimitedBuffer(qint64 limit) : limit_(limit) { open(WriteOnly | Unbuffered); }

    QByteArray take() { return std::move(bytes_); }

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char* data, qint64 size) override {
        if (bytes_.size() + size > limit_)
            return -1;
        bytes_.append(data, qsizetype(size));
        return size;
    }

private:
    QByteArray bytes_;
    qint64 limit_;
};

} // namespace

std::optional<QByteArray> encodeJpeg(const QImage& image, int quality, qint64 limit) {
    LimitedBuffer buffer(limit);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(quality);
    return writer.write(image) ? std::optional(buffer.take()) : std::nullopt;
}

} // namespace teskal
