#include "api/BillingRoutes.h"

#include "Encoding.h"
#include "Pages.h"
#include "api/SignedIn.h"

#include <cmath>

namespace teskal::service {

namespace {

constexpr double creditUsd = 0.01;
constexpr std::int64_t mostCredits = 1'000'000;       ///< of one purchase
constexpr std::int64_t checkoutLife = 60 * 60 * 1000; ///< ms

/// Where the caller reached us, so that a browser can too.
std::string originOf(const HttpRequest& request) {
    const std::string host = headerValue(request.headers, "Host");
    return "http://" + (host.empty() ? "127.0.0.1" : host);
}

bool isOwnPath(const std::string& path) {
    return path.starts_with('/') && !path.starts_with("//") && path.size() <= 200;
}

std::string priceOf(std::int64_t credits) {
    const auto cents = std::llround(static_cast<double>(credits) * creditUsd * 100);
    const std::string rest = std::to_string(cents % 100);
    return "$" + std::to_string(cents / 100) + (rest.size() < 2 ? ".0" : ".") + rest;
}

HttpReply checkoutPage(int status, const std::string& body) {
    return page(status, "Credits",
                "<main><header><span class=\"key\"></span>Credits</header>" + body + "</main>", "'self'");
}

HttpReply overPage() {
    return checkoutPage(404,
                        "<h1>This purchase is over</h1><p>It was finished before, or was open for too long. "
                        "Start again from Teskal.</p>");
}

} // namespace

HttpReply getBilling(const HttpRequest&, SharedState& state, const std::string& account) {
    const auto balance = state.with([&](ServiceState& s) { return s.accounts.balance(account); });
    return jsonReply(200, {{"enabled", true}, {"balance", balance}, {"creditUsd", creditUsd}});
}

HttpReply postBilling(const HttpRequest& request, SharedState& state, const std::string& account) {
    const auto body = parseJson(request.body);
    if (!body || !body->is_object())
        return badRequest("The request body must be a JSON object.");
    const Json credits = body->value("credits", Json());
    if (!credits.is_number_integer() || credits < 1 || credits > mostCredits)
        return badRequest("\"credits\" must be a whole number from 1 to 1,000,000.");
    if (body->contains("returnTo") && !isOwnPath(stringMember(*body, "returnTo").value_or("")))
        return badRequest("\"returnTo\" must be a path.");
    const std::string id = state.with([&](ServiceState& s) {
        return s.accounts.beginCheckout(account, credits.get<std::int64_t>(), s.clock.nowMs() + checkoutLife);
    });
    return jsonReply(200, {{"url", originOf(request) + "/checkout?session=" + id}});
}

HttpReply showCheckout(const HttpRequest& request, SharedState& state) {
    const std::string id = formValue(request.query, "session");
    const auto credits =
        state.with([&](ServiceState& s) { return s.accounts.checkout(id, s.clock.nowMs()); });
    if (!credits)
        return overPage();
    return checkoutPage(
        200, "<h1>" + std::to_string(*credits) + " credits</h1><p>For " + priceOf(*credits) +
                 " that nobody asks you for: this service runs on your computer.</p>"
                 "<form method=\"post\" action=\"/checkout\">"
                 "<input type=\"hidden\" name=\"session\" value=\"" +
                 escapeHtml(id) +
                 "\"><div class=\"buttons\"><button class=\"allow\">Add credits</button></div></form>");
}

HttpReply payCheckout(const HttpRequest& request, SharedState& state) {
    const auto form = parseForm(request.body);
    const std::string id = form ? formValue(*form, "session") : "";
    const auto added =
        state.with([&](ServiceState& s) { return s.accounts.finishCheckout(id, s.clock.nowMs()); });
    if (!added)
        return overPage();
    return checkoutPage(200, "<h1>Thank you</h1><p>" + std::to_string(*added) +
                                 " credits were added. Close this page and go back to Teskal.</p>");
}

} // namespace teskal::service
