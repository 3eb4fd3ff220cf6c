#pragma once

#include "ChatRequest.h"
#include "EventStream.h"
#include "SafeJson.h"

#include <string>
#include <variant>

namespace teskal::service {

/// Which (invented) model an answer is said to come from, and why.
struct Route {
    std::string model;
    std::string name;
    std::string lab;
    std::string task;
    std::string difficulty;
    std::string preference = "none";
    std::string effort = "none";
    bool web = false;
    std::string reason;

    /// The whole decision, with what else was considered.
    Json decision() const;
};

/// An answer that is written piece by piece.
struct WrittenAnswer {
    Script script;
    std::size_t pieceSize = 12; ///< bytes
    int tickScale = 1;          ///< slower than usual by this factor
};
/// An answer that is one JSON object (image, video, music), without its route.
struct MediaAnswer {
    Json body;
    bool fails = false; ///< a job that is to end in an error
};
/// A refusal with its status and, perhaps, code.
struct FailedAnswer {
    int status = 500;
    std::string message;
    std::string code;
};

struct Answer {
    Route route;
    std::string title;
    std::variant<WrittenAnswer, MediaAnswer, FailedAnswer> content;
};

/// What a question gets when there are no credits left.
FailedAnswer outOfCredits();

/// The built-in writer: the words of the question choose the kind of answer.
Answer answerTo(const ChatRequest& request);

} // namespace teskal::service
