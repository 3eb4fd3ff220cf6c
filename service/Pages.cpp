#include "Pages.h"

#include "Encoding.h"

namespace teskal::service {

namespace {

constexpr const char* style = R"(
:root { color-scheme: light dark; --page: #f7f6f4; --card: #fff; --line: #e7e5e1; --fg: #0c0a09; --muted: #78716c;
  --auto: #10b981; --field: #fff; }
@media (prefers-color-scheme: dark) {
  :root { --page: #151413; --card: #1e1d1b; --line: #33312e; --fg: #f5f5f4; --muted: #a8a29e; --field: #262522; }
}
* { box-sizing: border-box; }
body { margin: 0; min-height: 100vh; display: grid; place-items: center; padding: 24px; background: var(--page);
  color: var(--fg); font: 15px/1.6 system-ui, sans-serif; }
main { width: 100%; max-width: 400px; background: var(--card); border: 1px solid var(--line); border-radius: 16px;
  padding: 28px; }
main.wide { max-width: 640px; }
header { display: flex; align-items: center; gap: 10px; color: var(--muted); font-size: 13px; }
.key { width: 20px; height: 20px; border-radius: 6px; background: #6366f1; }
h1 { font-size: 22px; line-height: 1.25; letter-spacing: -0.02em; margin: 20px 0 6px; }
h2 { font-size: 16px; margin: 22px 0 4px; }
p { margin: 0 0 16px; color: var(--muted); }
code { font: 13px ui-monospace, monospace; }
pre { background: var(--page); border: 1px solid var(--line); border-radius: 12px; padding: 12px; overflow-x: auto; }
label { display: block; font-size: 13px; color: var(--muted); margin-top: 12px; }
input { width: 100%; margin-top: 4px; padding: 9px 12px; font: inherit; font-size: 15px; color: var(--fg); background: var(--field);
  border: 1px solid var(--line); border-radius: 9px; }
ul { margin: 14px 0 4px; padding: 14px 0 0; border-top: 1px solid var(--line); list-style: none; font-size: 13px;
  color: var(--muted); }
li::before { content: "✓"; color: var(--auto); margin-right: 8px; }
.buttons { display: flex; gap: 10px; margin-top: 20px; }
button { flex: 1; padding: 10px 16px; font: inherit; font-weight: 600; border-radius: 10px; cursor: pointer;
  border: 1px solid var(--line); background: transparent; color: var(--fg); }
button.allow { background: var(--fg); border-color: var(--fg); color: var(--card); order: 1; }
:focus-visible { outline: 2px solid var(--auto); outline-offset: 2px; }
)";

HttpReply article(const std::string& title, const std::string& body) {
    return page(200, title, "<main class=\"wide\"><h1>" + escapeHtml(title) + "</h1>" + body + "</main>");
}

} // namespace

HttpReply page(int status, const std::string& title, const std::string& body,
               const std::string& formTargets) {
    const std::string nonce = randomText(12);
    HttpReply reply = htmlReply(status, "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
                                        "<meta name=\"viewport\" content=\"width=device-width\"><title>" +
                                            escapeHtml(title) + "</title><style nonce=\"" + nonce + "\">" +
                                            style + "</style></head>\n<body>" + body + "</body></html>\n");
    setHeader(reply.headers, "Content-Security-Policy",
              "default-src 'none'; style-src 'nonce-" + nonce + "'; form-action " + formTargets +
                  "; frame-ancestors 'none'; base-uri 'none'");
    return reply;
}

std::optional<HttpReply> plainPage(std::string_view path) {
    if (path == "/")
        return article(
            "Teskal’s local service",
            "<p>This is the far end of a Teskal that runs on this computer alone. Sign in from Teskal, "
            "then send <code>help</code>.</p>");
    if (path == "/docs")
        return article("Documentation",
                       "<p>Write to Teskal as you would to a person; it picks the model. The "
                       "chat endpoint is described under <code>/docs/api-chat</code>.</p>");
    if (path == "/docs/api-chat")
        return article(
            "Chat over HTTP",
            "<p>Send the conversation, oldest message first, and read the answer as it is written.</p>"
            "<pre><code>POST /api/chat\nAuthorization: Bearer …\nContent-Type: application/json\n\n"
            "{\"messages\": [{\"role\": \"user\", \"content\": \"Hello\"}]}</code></pre>"
            "<p>With <code>X-Teskal-Events: 1</code>, progress is reported between the text: a JSON "
            "object between the bytes 0x1E and 0x1D.</p>");
    if (path == "/status")
        return article("Status", "<p>Everything works.</p>");
    return std::nullopt;
}

} // namespace teskal::service
