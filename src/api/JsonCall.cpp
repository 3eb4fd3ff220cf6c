#include "JsonCall.h"

#include "TeskalAPI.h"

namespace teskal {

QCoro::Task<QByteArray> jsonCall(TeskalAPI api, QByteArray method, QByteArray path,
                                 std::optional<QByteArray> json, std::stop_token stop) {
    auto building = api.request(std::move(method), std::move(path), stop);
    HttpRequest request = co_await building;
    if (json)
        setJsonBody(request, std::move(*json));
    auto exchange = api.data(std::move(request), stop);
    HttpResponse response = co_await exchange;
    co_return std::move(response.body);
}

} // namespace teskal
