#include "Identifiers.h"

#include <algorithm>

namespace teskal::service {

bool isIdentifier(std::string_view text) {
    return text.size() >= 4 && text.size() <= 64 && std::all_of(text.begin(), text.end(), [](char c) {
               return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                      c == '_' || c == '-';
           });
}

} // namespace teskal::service
