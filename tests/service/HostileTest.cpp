#include "RawSocket.h"
#include "RunningService.h"

#include <zlib.h>

using namespace teskal::service;

namespace {

struct Attack {
    const char* name;
    std::string bytes;
    int status; ///< 0: no reply is owed
};

std::string post(const std::string& path, const std::string& headers, const std::string& body) {
    return "POST " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n" + headers +
           "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

std::string get(const std::string& target, const std::string& headers = {}) {
    return "GET " + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n" + headers + "\r\n";
}

/// `size` zero bytes, compressed.
std::string bomb(uLong size) {
    const std::string zeros(size, '\0');
    std::string out(compressBound(size), '\0');
    uLongf length = out.size();
    compress(reinterpret_cast<Bytef*>(out.data()), &length, reinterpret_cast<const Bytef*>(zeros.data()),
             size);
    return out.substr(0, length);
}

std::vector<Attack> attacks(const std::string& token) {
    const std::string form = "Content-Type: application/x-www-form-urlencoded\r\n";
    const std::string chat = "Authorization: Bearer " + token + "\r\n";
    const std::string big(17 * 1024 * 1024, 'x');
    std::string manyHeaders;
    for (int i = 0; i < 2000; ++i)
        manyHeaders += "X-Header-" + std::to_string(i) + ": " + std::string(100, 'v') + "\r\n";
    std::string chunked =
        "POST /api/chat HTTP/1.1\r\nHost: 127.0.0.1\r\nTransfer-Encoding: chunked\r\n" + chat + "\r\n";
    for (int i = 0; i < 17; ++i)
        chunked += "100000\r\n" + std::string(0x100000, 'x') + "\r\n";
    chunked += "0\r\n\r\n";
    return {
        {"garbage", std::string("\x00\x01\xFF\xFE\r\n\r\n", 8), 400},
        {"half a request line", "GET /\r\n\r\n", 400},
        {"unknown method", "BREW /api/chat HTTP/1.1\r\n\r\n", 400},
        {"other method", "TRACE /api/chat HTTP/1.1\r\nConnection: close\r\n\r\n", 405},
        {"endless target", get("/" + std::string(9000, 'a')), 414},
        {"long target", get("/" + std::string(8000, 'a')), 404},
        {"broken escape in the path", get("/api/%zz"), 400},
        {"broken escape in the query", get("/oauth/authorize?client_id=%"), 400},
        {"not UTF-8 in the path", get("/%FF"), 400},
        {"zero byte in the path", get("/api/chat%00"), 404},
        {"dots in the path", get("/docs/../../etc/passwd"), 404},
        {"huge header", get("/status", "X-Big: " + std::string(100'000, 'x') + "\r\n"), 400},
        {"many headers", get("/status", manyHeaders), 200},
        {"not UTF-8 in a header", get("/status", "X-Odd: \xFF\xFE\r\n"), 200},
        {"absurd range", get("/status", "Range: bytes=99999999999999999999-5,3-\r\n"), 416},
        {"range", get("/status", "Range: bytes=0-3\r\n"), 200},
        {"deep JSON", post("/api/chat", chat, std::string(1'000'000, '[')), 400},
        {"large body", post("/api/chat", chat, big), 413},
        {"large chunked body", chunked, 413},
        {"compressed bomb", post("/api/chat", chat + "Content-Encoding: gzip\r\n", bomb(40'000'000)), 413},
        {"not gzip after all", post("/api/chat", chat + "Content-Encoding: gzip\r\n", "hello"), 400},
        {"huge form", post("/functions/v1/oauth/token", form, "a=" + std::string(100'000, 'x')), 413},
        {"JSON for a form", post("/functions/v1/oauth/token", "Content-Type: application/json\r\n", "{}"),
         415},
        {"broken form", post("/functions/v1/oauth/token", form, "grant_type=%G1"), 400},
        {"multipart", post("/api/chat", chat + "Content-Type: multipart/form-data; boundary=x\r\n", "--x--"),
         415},
        {"negative length", "POST /api/chat HTTP/1.1\r\nContent-Length: -5\r\n\r\n", 413},
        {"length that is no number",
         "POST /api/chat HTTP/1.1\r\nConnection: close\r\nContent-Length: x\r\n" + chat + "\r\n", 400},
        {"a request as the body of another",
         "GET /status HTTP/1.1\r\nContent-Length: 22\r\n\r\nBREW / HTTP/1.1\r\n\r\nabc", 200},
        {"bad chunk size",
         "POST /api/chat HTTP/1.1\r\nTransfer-Encoding: chunked\r\n" + chat + "\r\nzz\r\nabc\r\n", 400},
    };
}

int statusOf(const std::string& reply) {
    return reply.starts_with("HTTP/1.1 ") ? std::stoi(reply.substr(9, 3)) : 0;
}

} // namespace

TEST(Hostile, NothingSentToItBringsItDown) {
    const RunningService service;
    for (const Attack& attack : attacks(service.signIn()["access_token"])) {
        SCOPED_TRACE(attack.name);
        RawSocket socket(service.port());
        socket.send(attack.bytes);
        const std::string reply = socket.read();
        EXPECT_TRUE(socket.wasClosed());
        EXPECT_EQ(statusOf(reply), attack.status) << reply.substr(0, 400);
        if (attack.status >= 400) {
            const std::string body = reply.substr(reply.find("\r\n\r\n") + 4);
            EXPECT_TRUE(Json::accept(body)) << body.substr(0, 200);
        }
        const auto after = service.client()->Get("/status");
        ASSERT_TRUE(after && after->status == 200) << "the service must go on";
    }
}

TEST(Hostile, AnAnnouncedEmptyBodyKeepsTheConnection) {
    const RunningService service;
    RawSocket socket(service.port());
    socket.send("GET /first HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 0\r\n\r\n");
    EXPECT_EQ(statusOf(socket.read(100)), 404);
    socket.send(get("/second"));
    EXPECT_NE(socket.read().find("HTTP/1.1 404"), std::string::npos);
}

TEST(Hostile, AStopEndsEveryKindOfWait) {
    auto service = std::make_unique<RunningService>();
    service->control("next", {{"path", "/hang"}, {"hang", true}});
    service->control("hold", {{"path", "/held"}});
    RawSocket idle(service->port());
    RawSocket half(service->port());
    RawSocket hanging(service->port());
    RawSocket held(service->port());
    half.send("POST /api/chat HTTP/1.1\r\nContent-Le");
    hanging.send(get("/hang"));
    held.send(get("/held"));
    EXPECT_TRUE(service->waitFor("/hang", "received"));
    EXPECT_TRUE(service->waitFor("/held", "held"));
    const auto before = std::chrono::steady_clock::now();
    service.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(2));
    EXPECT_EQ(hanging.read(), "");
}

TEST(Hostile, BadRequestsAreShownOrSentBack) {
    const RunningService service;
    const auto http = service.client();
    // The error is empty when only a page may say it.
    using Case = std::array<const char*, 3>;
    for (const auto& [name, value, error] :
         {Case{"client_id", "someone", ""}, Case{"redirect_uri", "https://example.com/", ""},
          Case{"redirect_uri", "app.teskal.mac://callback/x", ""},
          Case{"response_type", "token", "unsupported_response_type"},
          Case{"code_challenge_method", "plain", "invalid_request"},
          Case{"code_challenge", "short", "invalid_request"}, Case{"state", "", "invalid_request"}}) {
        Form query = authorizeQuery();
        query[name] = value;
        const auto reply = http->Get("/oauth/authorize?" + formText(query));
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->status, *error ? 302 : 400) << name;
        EXPECT_EQ(formValue(locationQuery(reply), "error"), error) << name;
    }
}

TEST(Hostile, OnlyThisComputerIsServed) {
    const RunningService service;
    EXPECT_TRUE(RawSocket(service.port()).isConnected());
    // Also loopback, but another address of it: open only to a service bound to every interface.
    EXPECT_FALSE(RawSocket(service.port(), "127.0.0.2").isConnected());
    const auto rebound = service.client()->Get("/status", {{"Host", "evil.example"}});
    EXPECT_EQ(rebound->status, 421);
}
