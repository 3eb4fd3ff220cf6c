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
    bool reset() override { return false; }
    qint64 bytesAvailable() const override;

protected:
    qint64 readData(char* data, qint64 maxSize) override;
    qint64 writeData(const char* data, qint64 size) override;

private:
    QByteArray body_;
    qint64 position_ = 0;
};

} // namespace teskal
