#include "Models.h"

namespace teskal::service {

std::span<const Model> models() {
    static constexpr Model all[] = {
        {"example/model-one", "Model One", "Example Lab", "chat", 412, 940, 0.004},
        {"example/model-two", "Model Two", "Example Lab", "chat", 2380, 210, 0.001},
        {"sample/model-three", "Model Three", "Sample Works", "chat", 655, 480, 0.006},
        {"sample/model-four", "Model Four", "Sample Works", "chat", 318, 760, 0.009},
        {"sample/model-five", "Model Five", "Sample Works", "chat", 97, 1320, 0.021},
        {"example/model-pictures", "Model Pictures", "Example Lab", "image", 143, 4200, 0.014},
        {"example/model-motion", "Model Motion", "Example Lab", "video", 31, 8000, 0.032},
        {"sample/model-music", "Model Music", "Sample Works", "music", 44, 7600, 0.023},
    };
    return all;
}

} // namespace teskal::service
