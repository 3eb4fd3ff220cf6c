#include "ConsentPage.h"

#include "Encoding.h"
#include "Pages.h"

namespace teskal::service {

namespace {

constexpr const char* heading = "<header><span class=\"key\"></span>Passhold</header>";

} // namespace

HttpReply consentPage(const std::string& consent, const std::string& name, const std::string& email) {
    const std::string body =
        std::string("<main>") + heading +
        "<h1>Sign in to Teskal</h1>"
        "<p>Who would you like to be? This provider runs on your computer and takes your "
        "word for it.</p>"
        "<form method=\"post\" action=\"/oauth/authorize\">"
        "<input type=\"hidden\" name=\"consent\" value=\"" +
        escapeHtml(consent) +
        "\"><label>Name<input name=\"name\" autocomplete=\"name\" maxlength=\"100\" value=\"" +
        escapeHtml(name) +
        "\"></label><label>E-mail<input name=\"email\" type=\"email\" required "
        "autocomplete=\"email\" maxlength=\"200\" value=\"" +
        escapeHtml(email) +
        "\"></label><ul><li>Teskal sees your name and e-mail address</li>"
        "<li>Teskal stays signed in until you sign out</li></ul>"
        "<div class=\"buttons\">"
        "<button class=\"allow\" name=\"decision\" value=\"allow\">Allow</button>"
        "<button name=\"decision\" value=\"cancel\" formnovalidate>Cancel</button>"
        "</div></form></main>";
    // The redirect that follows the form counts as its target too, hence the application's scheme.
    return page(200, "Passhold", body, "'self' app.teskal.mac:");
}

HttpReply signInProblemPage(const std::string& message) {
    return page(400, "Passhold",
                std::string("<main>") + heading + "<h1>This sign-in can’t go on</h1><p>" +
                    escapeHtml(message) + "</p><p>Close this page and start again from Teskal.</p></main>");
}

} // namespace teskal::service
