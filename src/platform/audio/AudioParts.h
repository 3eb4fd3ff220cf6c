#pragma once

#include <memory>

namespace teskal {

class AudioInput;
class AudioPlayer;

/// Makes what hears and plays.
class AudioParts {
public:
    virtual ~AudioParts() = default;

    virtual std::unique_ptr<AudioInput> makeInput() = 0;
    virtual std::unique_ptr<AudioPlayer> makePlayer() = 0;
};

} // namespace teskal
