#include "Control.h"

#include "Encoding.h"

#include <algorithm>

namespace teskal::service {

namespace {

constexpr std::size_t longestLog = 20'000; ///< requests
/// Larger bodies are forgotten at once, and the oldest ones when all kept together are more than
/// `mostBodies`.
constexpr std::size_t largestBody = 256 * 1024;      ///< bytes
constexpr std::size_t mostBodies = 32 * 1024 * 1024; ///< bytes

/// What the log keeps of a request: everything but a large body.
HttpRequest summaryOf(const HttpRequest& request) {
    const bool keepBody = request.body.size() <= largestBody;
    return {request.method, request.path, request.query, request.headers,
            keepBody ? request.body : std::string{}};
}

} // namespace

Control::Admission Control::admit(const HttpRequest& request) {
    Admission admission;
    admission.entry = nextIndex_++;
    admission.spoil = takeOverride(request);
    std::copy_if(holds_.begin(), holds_.end(), std::back_inserter(admission.holds),
                 [&](const Hold& hold) { return hold.filter.matches(request); });
    Entry entry;
    entry.index = admission.entry;
    entry.request = summaryOf(request);
    entry.bodyLength = request.body.size();
    bodiesKept_ += entry.request.body.size();
    log_.push_back(std::move(entry));
    shortenLog();
    return admission;
}

void Control::shortenLog() {
    if (log_.size() > longestLog) {
        bodiesKept_ -= log_.front().request.body.size();
        log_.pop_front();
    }
    // Bodies go oldest first; everything before `firstBody_` has none any more.
    for (firstBody_ = std::max(firstBody_, log_.front().index); bodiesKept_ > mostBodies; ++firstBody_) {
        std::string& body = find(firstBody_)->request.body;
        bodiesKept_ -= body.size();
        body = {};
    }
}

void Control::setHeld(std::size_t index, bool held) {
    if (Entry* entry = find(index))
        entry->held = held;
}

void Control::finish(std::size_t index, int status, const std::string& outcome, std::size_t bodyBytes) {
    Entry* entry = find(index);
    if (!entry)
        return;
    entry->finished = true;
    entry->status = status;
    entry->outcome = outcome;
    entry->bodyBytes = bodyBytes;
}

int Control::hold(RequestFilter filter, std::optional<std::size_t> afterBytes) {
    holds_.push_back({nextHold_, std::move(filter), afterBytes, std::make_shared<const Latch>()});
    return nextHold_++;
}

std::size_t Control::release(std::optional<int> id) {
    return std::erase_if(holds_, [&](const Hold& hold) {
        if (id && hold.id != *id)
            return false;
        hold.latch->open();
        return true;
    });
}

void Control::reset() {
    release(std::nullopt);
    overrides_.clear();
    log_.clear();
    bodiesKept_ = 0;
}

std::size_t Control::count(const RequestFilter& filter, const std::string& state) const {
    return static_cast<std::size_t>(std::count_if(log_.begin(), log_.end(), [&](const Entry& entry) {
        const bool there = state == "held" ? entry.held : state == "finished" ? entry.finished : true;
        return there && filter.matches(entry.request);
    }));
}

Json Control::requests(const RequestFilter& filter) const {
    Json list = Json::array();
    Json counts = Json::object();
    for (const Entry& entry : log_) {
        if (!filter.matches(entry.request))
            continue;
        list.push_back(describe(entry));
        Json& count = counts[entry.request.path];
        count = count.is_null() ? 1 : count.get<int>() + 1;
    }
    return {{"requests", list}, {"counts", counts}};
}

Json Control::describe(const Entry& entry) {
    const HttpRequest& request = entry.request;
    Json json = {{"index", entry.index},
                 {"method", request.method},
                 {"path", request.path},
                 {"query", request.query},
                 {"bodyLength", entry.bodyLength},
                 {"state", entry.finished ? "finished" : entry.held ? "held" : "received"}};
    Json& headers = json["headers"] = Json::object();
    for (const auto& [name, value] : request.headers)
        headers[lowerAscii(name)] = value;
    if (headerValue(request.headers, "Content-Type").starts_with("application/x-www-form-urlencoded")) {
        if (const auto form = parseForm(request.body))
            json["form"] = *form;
    } else if (auto body = parseJson(request.body)) {
        json["json"] = std::move(*body);
    }
    if (entry.finished) {
        json["status"] = entry.status;
        json["outcome"] = entry.outcome;
        json["bytesSent"] = entry.bodyBytes;
    }
    return json;
}

Control::Entry* Control::find(std::size_t index) {
    // Entries are numbered one after another.
    if (log_.empty() || index < log_.front().index || index > log_.back().index)
        return nullptr;
    return &log_[index - log_.front().index];
}

std::optional<Override> Control::takeOverride(const HttpRequest& request) {
    for (auto it = overrides_.begin(); it != overrides_.end(); ++it) {
        if (!it->filter.matches(request))
            continue;
        if (it->skip > 0) {
            --it->skip;
            continue;
        }
        Override taken = *it;
        if (--it->times <= 0)
            overrides_.erase(it);
        return taken;
    }
    return std::nullopt;
}

} // namespace teskal::service
