#include "Forms.h"

#include "Encoding.h"

#include <algorithm>

namespace teskal::service {

namespace {

constexpr std::size_t maxFields = 64;

std::optional<std::string> decodeField(std::string_view text) {
    std::string spaced(text);
    std::replace(spaced.begin(), spaced.end(), '+', ' ');
    auto decoded = percentDecode(spaced);
    if (decoded && !isUtf8(*decoded))
        return std::nullopt;
    return decoded;
}

} // namespace

std::optional<Form> parseForm(std::string_view text) {
    Form form;
    while (!text.empty()) {
        const auto end = std::min(text.find('&'), text.size());
        const std::string_view pair = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (pair.empty())
            continue;
        const auto equals = std::min(pair.find('='), pair.size());
        auto name = decodeField(pair.substr(0, equals));
        auto value = decodeField(pair.substr(std::min(equals + 1, pair.size())));
        if (!name || !value || form.size() == maxFields)
            return std::nullopt;
        if (!form.emplace(std::move(*name), std::move(*value)).second)
            return std::nullopt;
    }
    return form;
}

std::string formValue(const Form& form, const std::string& name) {
    const auto found = form.find(name);
    return found == form.end() ? std::string{} : found->second;
}

std::string formText(const Form& form) {
    std::string out;
    for (const auto& [name, value] : form) {
        if (!out.empty())
            out += '&';
        out += percentEncode(name) + '=' + percentEncode(value);
    }
    return out;
}

} // namespace teskal::service
