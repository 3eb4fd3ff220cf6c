#include "AudioParts.h"
#include "MediaAudioInput.h"
#include "MediaAudioPlayer.h"
#include "Module.h"

namespace teskal {

namespace {

class MediaParts final : public AudioParts {
public:
    std::unique_ptr<AudioInput> makeInput() override { return std::make_unique<MediaAudioInput>(); }
    std::unique_ptr<AudioPlayer> makePlayer() override { return std::make_unique<MediaAudioPlayer>(); }
};

} // namespace

} // namespace teskal

TESKAL_MODULE(teskal::AudioParts, teskal::MediaParts)
