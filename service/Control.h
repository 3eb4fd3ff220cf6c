#pragma once

#include "Latch.h"
#include "Override.h"

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace teskal::service {

/// A gate that matching replies wait at until it is released.
struct Hold {
    int id = 0;
    RequestFilter filter;
    std::optional<std::size_t> afterBytes; ///< of the body; without it the headers wait too
    std::shared_ptr<const Latch> latch;
};

/// What tests have asked for, and what came in. No lock: it is used from inside the shared state.
class Control {
public:
    /// What is to happen to one request.
    struct Admission {
        std::size_t entry = 0; ///< its place in the log
        std::optional<Override> spoil;
        std::vector<Hold> holds;
    };

    /// Logs a request and takes the override and the holds that apply to it.
    Admission admit(const HttpRequest& request);
    void setHeld(std::size_t entry, bool held);
    void finish(std::size_t entry, int status, const std::string& outcome, std::size_t bodyBytes);

    void queue(Override spoil) { overrides_.push_back(std::move(spoil)); }
    int hold(RequestFilter filter, std::optional<std::size_t> afterBytes);
    /// Opens one hold, or every one; says how many were opened.
    std::size_t release(std::optional<int> id);
    /// Forgets the log and the overrides and opens every hold.
    void reset();

    /// Requests that match, by how far they are: "received" (all), "held" (now) or "finished".
    std::size_t count(const RequestFilter& filter, const std::string& state) const;
    /// {"requests": […], "counts": {path: number}}
    Json requests(const RequestFilter& filter) const;
    std::size_t queuedOverrides() const { return overrides_.size(); }
    std::size_t openHolds() const { return holds_.size(); }

private:
    struct Entry {
        std::size_t index = 0;
        HttpRequest request;        ///< without its body when that is large or long ago
        std::size_t bodyLength = 0; ///< of the body that came
        bool held = false;
        bool finished = false;
        int status = 0;
        std::string outcome;
        std::size_t bodyBytes = 0;
    };
    static Json describe(const Entry& entry);
    Entry* find(std::size_t index);
    std::optional<Override> takeOverride(const HttpRequest& request);
    void shortenLog();

    std::deque<Entry> log_;
    std::size_t nextIndex_ = 1;
    std::size_t bodiesKept_ = 0; ///< bytes
    std::size_t firstBody_ = 0;  ///< index of the first entry that may still have its body
    std::deque<Override> overrides_;
    std::vector<Hold> holds_;
    int nextHold_ = 1;
};

} // namespace teskal::service
