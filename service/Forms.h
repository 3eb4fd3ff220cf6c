#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace teskal::service {

/// The fields of a query string or form body. A name occurs once.
using Form = std::map<std::string, std::string>;

/// Reads `application/x-www-form-urlencoded` text ("+" is a space). Nothing when an escape is broken,
/// the result is not UTF-8, a name is repeated or there are more than 64 fields.
std::optional<Form> parseForm(std::string_view text);
/// The value of `name`, empty when it is absent.
std::string formValue(const Form& form, const std::string& name);
/// Writes `form` as a query string, every value percent-encoded.
std::string formText(const Form& form);

} // namespace teskal::service
