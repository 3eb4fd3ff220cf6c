#include "LateAudioInput.h"

#include "AudioParts.h"
#include "Module.h"

namespace teskal {

namespace {

QCoro::Task<bool> granted() {
    co_return true;
}

} // namespace

AudioInput* LateAudioInput::input() {
    if (!input_) {
        auto* const parts = static_cast<AudioParts*>(moduleParts("audio"));
        if (!parts)
            return nullptr;
        input_ = parts->makeInput();
        connect(input_.get(), &AudioInput::heard, this, &AudioInput::heard);
        connect(input_.get(), &AudioInput::lost, this, &AudioInput::lost);
    }
    return input_.get();
}

QCoro::Task<bool> LateAudioInput::askAccess(std::stop_token stop) {
    AudioInput* const there = input();
    return there ? there->askAccess(std::move(stop)) : granted();
}

bool LateAudioInput::start() {
    AudioInput* const there = input();
    return there && there->start();
}

void LateAudioInput::stop() {
    if (input_)
        input_->stop();
}

} // namespace teskal
