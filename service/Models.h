#pragma once

#include <span>

namespace teskal::service {

/// An invented model, with the figures that its live measurements are said to have.
struct Model {
    const char* id;
    const char* name;
    const char* lab;
    const char* kind; ///< "chat", "image", "video" or "music"
    int samples;
    int firstTokenMs;
    double errorRate; ///< share of failed answers
};

std::span<const Model> models();

} // namespace teskal::service
