#include "FolderExchange.h"

#include "APIError.h"
#include "Cancelled.h"
#include "Clock.h"
#include "JsonError.h"

#include <algorithm>
#include <cmath>

namespace teskal {

namespace {

constexpr double toleratedSkewMs = 5'000;
/// The last moment that the dates of ECMA-262 can name; a clock that says more is none.
constexpr double lastMomentMs = 8.64e15;
constexpr int maxRetries = 6;
constexpr double maxRetrySeconds = 60;

enum class Verdict { Accepted, TooLarge, SignedOut, Unavailable, TryAgain, GiveUp };

Verdict verdictOn(int status) {
    if (isSuccess(status))
        return Verdict::Accepted;
    switch (status) {
    case 401:
        return Verdict::SignedOut;
    case 409:
        return Verdict::TryAgain;
    case 413:
        return Verdict::TooLarge;
    case 503:
        return Verdict::Unavailable;
    default:
        return status >= 500 ? Verdict::TryAgain : Verdict::GiveUp;
    }
}

} // namespace

struct FolderExchange::Outcome {
    Verdict verdict = Verdict::GiveUp;
    FolderSyncReply reply;
};

FolderExchange::FolderExchange(Clock& clock, Callbacks callbacks)
    : clock_(clock), callbacks_(std::move(callbacks)) {}

FolderExchange::~FolderExchange() = default;

void FolderExchange::begin(std::optional<TeskalAPI> api) {
    ++generation_;
    job_.cancel();
    debounceTimer_.reset();
    retryTimer_.reset();
    api_ = std::move(api);
    skew_ = 0;
    failures_ = 0;
    inflight_ = false;
    again_ = false;
    authStopped_ = false;
    syncAvailable_ = true;
    shownTooLarge_ = false;
}

void FolderExchange::resume() {
    const double skew = skew_;
    begin(std::optional(api_));
    skew_ = skew;
    soon(std::chrono::milliseconds(0));
}

bool FolderExchange::mayStart() const {
    return api_ && !authStopped_ && syncAvailable_;
}

void FolderExchange::soon(std::chrono::milliseconds after) {
    if (mayStart())
        debounceTimer_ = clock_.after(after, [this] { start(); });
}

void FolderExchange::start() {
    debounceTimer_.reset();
    retryTimer_.reset();
    if (!mayStart())
        return;
    if (inflight_) {
        again_ = true;
        return;
    }
    inflight_ = true;
    job_ = scope_.launch([this](std::stop_token stop) { return run(generation_, std::move(stop)); });
}

QCoro::Task<FolderExchange::Outcome> FolderExchange::ask(TeskalAPI api, FolderDocument document,
                                                         std::stop_token stop) {
    Outcome outcome;
    try {
        auto call = api.syncFolders(document, std::nullopt, stop);
        outcome.reply = co_await call;
        outcome.verdict = verdictOn(outcome.reply.status);
    } catch (const APIError& error) {
        outcome.verdict = verdictOn(error.status());
    } catch (const JsonError&) {
        outcome.verdict = Verdict::GiveUp; // the same would come again
    } catch (const Error&) {
        outcome.verdict = Verdict::TryAgain; // no reply, or no access token for now
    } catch (const Cancelled&) {
        if (stop.stop_requested())
            throw;
        outcome.verdict = Verdict::TryAgain; // the source of the access token ended its work, not we ours
    }
    co_return outcome;
}

QCoro::Task<void> FolderExchange::run(quint64 generation, std::stop_token stop) {
    auto asking = ask(*api_, callbacks_.document(), stop);
    const Outcome outcome = co_await asking;
    if (generation != generation_)
        co_return;
    inflight_ = false;
    const bool again = std::exchange(again_, false);
    accept(outcome);
    // A retry that waits serves those who asked meanwhile, too.
    if (generation == generation_ && again && !retryTimer_)
        start();
}

void FolderExchange::accept(const Outcome& outcome) {
    setSkew(outcome.reply);
    switch (outcome.verdict) {
    case Verdict::Accepted:
        failures_ = 0;
        shownTooLarge_ = false;
        break;
    case Verdict::TooLarge:
        refuse(outcome.reply);
        break;
    case Verdict::SignedOut:
        authStopped_ = true;
        break;
    case Verdict::Unavailable:
        syncAvailable_ = false;
        break;
    case Verdict::TryAgain:
        scheduleRetry();
        break;
    case Verdict::GiveUp:
        break;
    }
    if (outcome.reply.document)
        callbacks_.absorb(*outcome.reply.document);
}

void FolderExchange::setSkew(const FolderSyncReply& reply) {
    const double time = reply.serverTime.value_or(0);
    if (!(time > 0 && time <= lastMomentMs))
        return;
    const double difference = time - clock_.nowMs();
    skew_ = std::fabs(difference) > toleratedSkewMs ? difference : 0;
}

void FolderExchange::scheduleRetry() {
    if (failures_ >= maxRetries)
        return;
    const double seconds = std::min(std::pow(2, failures_), maxRetrySeconds) * (0.5 + callbacks_.random());
    ++failures_;
    retryTimer_ = clock_.after(std::chrono::milliseconds(std::llround(seconds * 1000)), [this] { start(); });
}

void FolderExchange::refuse(const FolderSyncReply& reply) {
    if (std::exchange(shownTooLarge_, true))
        return;
    callbacks_.notice(reply.error.value_or(QStringLiteral("Too many folders to sync.")));
}

} // namespace teskal
