#pragma once

#include "AudioInput.h"

#include <memory>

namespace teskal {

/// Listens to the desktop's default microphone with Qt Multimedia, whose parts are made when it begins and go
/// afterwards. Access is what MicrophoneAccess.h says.
class MediaAudioInput final : public AudioInput {
    Q_OBJECT

public:
    explicit MediaAudioInput(QObject* parent = nullptr);
    ~MediaAudioInput() override;

    QCoro::Task<bool> askAccess(std::stop_token stop) override;
    bool start() override;
    void stop() override;

private:
    struct Capture;

    void read();
    void lose();

    std::unique_ptr<Capture> capture_;
};

} // namespace teskal
