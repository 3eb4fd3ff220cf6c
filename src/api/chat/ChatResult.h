#pragma once

#include <QString>

#include <optional>
#include <variant>

namespace teskal {

/// What an exchange with the chat endpoint ends in.
struct TextResult {
    QString text; ///< the whole answer, untrimmed
};

struct ImageResult {
    QString dataUrl;
    std::optional<QString> fileId;
    std::optional<QString> prompt;
};

/// A started job; its outcome is polled.
struct VideoResult {
    std::optional<QString> requestId;
    std::optional<QString> model;
    std::optional<QString> prompt;
};

struct MusicResult {
    std::optional<QString> requestId;
    std::optional<QString> model;
    std::optional<QString> lyrics;
    std::optional<QString> prompt;
};

using ChatResult = std::variant<TextResult, ImageResult, VideoResult, MusicResult>;

} // namespace teskal
