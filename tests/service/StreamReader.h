#pragma once

#include "SafeJson.h"

#include <string>
#include <string_view>
#include <vector>

/// Takes a chat stream apart: the text, the complete events, and what an unclosed event holds.
struct StreamReader {
    std::string text;
    std::vector<teskal::service::Json> events;
    std::string unfinished;

    explicit StreamReader(std::string_view bytes) {
        bool inEvent = false;
        for (const char c : bytes) {
            if (!inEvent && c == '\x1E') {
                inEvent = true;
            } else if (inEvent && c == '\x1D') {
                events.push_back(teskal::service::Json::parse(unfinished));
                unfinished.clear();
                inEvent = false;
            } else {
                (inEvent ? unfinished : text) += c;
            }
        }
    }
};
