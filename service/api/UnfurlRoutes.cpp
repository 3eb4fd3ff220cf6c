#include "api/UnfurlRoutes.h"

#include "Encoding.h"
#include "api/SignedIn.h"

#include <algorithm>

namespace teskal::service {

namespace {

constexpr std::size_t longestUrl = 2000; ///< bytes

struct Address {
    std::string host;
    std::string path;
};

/// Host and path of an http or https address; nothing for any other text.
std::optional<Address> readAddress(const std::string& url) {
    const std::string lower = lowerAscii(url.substr(0, 8));
    const std::size_t begin = lower.starts_with("https://") ? 8 : lower.starts_with("http://") ? 7 : 0;
    if (begin == 0 || url.size() > longestUrl)
        return std::nullopt;
    const std::size_t hostEnd = std::min(url.find_first_of("/?#", begin), url.size());
    std::string host = lowerAscii(url.substr(begin, hostEnd - begin));
    host.erase(0, host.rfind('@') + 1); // a user name is no part of the site (npos + 1 is 0)
    const bool isPlain =
        std::all_of(host.begin(), host.end(), [](char c) { return c > ' ' && c != '\\' && c != 0x7F; });
    if (host.empty() || host.front() == ':' || !isPlain)
        return std::nullopt;
    const std::size_t pathEnd = std::min(url.find_first_of("?#", hostEnd), url.size());
    return Address{std::move(host), url.substr(hostEnd, pathEnd - hostEnd)};
}

/// The last part of the path in words: "/notes/first-steps.html" is "First steps".
std::string titleFrom(const Address& address) {
    std::string path = percentDecode(address.path).value_or("");
    while (path.ends_with('/'))
        path.pop_back();
    std::string title = path.substr(path.rfind('/') + 1);
    title.resize(std::min(title.find('.'), title.size()));
    std::replace_if(
        title.begin(), title.end(), [](char c) { return c == '-' || c == '_'; }, ' ');
    if (title.empty() || !isUtf8(title))
        return address.host;
    if (title[0] >= 'a' && title[0] <= 'z')
        title[0] = static_cast<char>(title[0] - 'a' + 'A');
    return title;
}

} // namespace

HttpReply unfurl(const HttpRequest& request, SharedState&, const std::string&) {
    std::string url = formValue(request.query, "url");
    if (url.empty() && !request.body.empty()) {
        const auto body = parseJson(request.body);
        url = body ? stringMember(*body, "url").value_or("") : "";
    }
    const auto address = readAddress(url);
    if (!address)
        return errorReply(404, "There is no card for this address.", "NOT_FOUND");
    const std::string site = address->host.starts_with("www.") ? address->host.substr(4) : address->host;
    const std::string where = address->path.empty() ? "/" : address->path;
    return jsonReply(200, {{"url", url},
                           {"title", titleFrom(*address)},
                           {"description", "What " + site + " keeps at " + where + "."},
                           {"site", site}});
}

} // namespace teskal::service
