#pragma once

#include "AudioInput.h"

#include <memory>

namespace teskal {

/// A microphone out of the module for sound, which is loaded when somebody first wants to speak. Without the
/// module there is no device.
class LateAudioInput final : public AudioInput {
    Q_OBJECT

public:
    using AudioInput::AudioInput;

    QCoro::Task<bool> askAccess(std::stop_token stop) override;
    bool start() override;
    void stop() override;

private:
    /// Null without the module.
    AudioInput* input();

    std::unique_ptr<AudioInput> input_;
};

} // namespace teskal
