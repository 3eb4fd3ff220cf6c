#pragma once

#include <QIODevice>

namespace teskal {

/// A request body that can be read once only. The network library silently repeats a request when the
/// connection closes before the reply; a device that cannot be rewound makes it fail instead.
class UploadDevice final : public QIODevice {
    Q_OBJECT
public:
    /// Opened for reading.
    explicit UploadDevice(QByteArray body, QObject* parent = nullptr);

    bool isSequential() const override { return true; }
    bool reset() override;
    qint64 bytesAvailable() const override;

    /// For a reply of status 307 or 308: the library rewinds the body even if nobody follows the redirect,
    /// and a refusal would hide the reply.
    void allowReset() { mayReset_ = true; }

protected:
    qint64 readData(char* data, qint64 maxSize) override;
    qint64 writeData(const char* data, qint64 size) override;

private:
    QByteArray body_;
    qint64 position_ = 0;
    bool mayReset_ = false;
};

} // namespace teskal
