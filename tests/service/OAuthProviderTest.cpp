#include "OAuthProvider.h"

#include <gtest/gtest.h>

using namespace teskal::service;
using namespace std::chrono_literals;

namespace {

// RFC 7636 appendix B.
const std::string verifier = "dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk";
const std::string challenge = "E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM";

const std::string client = "dcr_5a1e7c0b93f24d68ae01b7c4d9f2e385";
const std::string callback = "app.teskal.mac://callback";
const TimePoint start{1'700'000'000s};

class OAuthProviderTest : public testing::Test {
protected:
    std::string code(TimePoint now = start) {
        return provider.issueCode({callback, "state", challenge}, Profile::of("Ada", "ada@example.org"), now);
    }
    Form codeForm(const std::string& value) {
        return {{"grant_type", "authorization_code"},
                {"code", value},
                {"client_id", client},
                {"redirect_uri", callback},
                {"code_verifier", verifier}};
    }
    Form refreshForm(const std::string& token) {
        return {{"grant_type", "refresh_token"}, {"refresh_token", token}, {"client_id", client}};
    }
    IssuedTokens signIn() { return std::get<IssuedTokens>(provider.exchange(codeForm(code()), start)); }
    std::string errorOf(const Form& form, TimePoint now = start) {
        const auto result = provider.exchange(form, now);
        const auto* problem = std::get_if<TokenProblem>(&result);
        return problem ? problem->error : "none";
    }

    Database database{""};
    OAuthProvider provider{TokenPolicy{}, database};
};

} // namespace

TEST(Pkce, VerifiesS256) {
    EXPECT_TRUE(verifiesPkce(verifier, challenge));
    EXPECT_FALSE(verifiesPkce(verifier, verifier)) << "the plain method is not offered";
    std::string other = verifier;
    other.back() = 'l';
    EXPECT_FALSE(verifiesPkce(other, challenge));
    // Too short, too long and with a forbidden character, each against its own right challenge.
    EXPECT_FALSE(verifiesPkce("abc", "ungWv48Bz-pBQUDeXa4iI7ADYaOWF3qctBD_YfIAFa0"));
    EXPECT_FALSE(verifiesPkce("", "47DEQpj8HBSa-_TImW-5JCeuQeRkm5NMpJWZG3hSuFU"));
}

TEST_F(OAuthProviderTest, ACodeServesOnceAndItsSecondUseEndsTheSession) {
    const std::string value = code();
    const auto tokens = std::get<IssuedTokens>(provider.exchange(codeForm(value), start));
    EXPECT_EQ(provider.holderOf(tokens.accessToken, start)->email, "ada@example.org");
    EXPECT_EQ(errorOf(codeForm(value)), "invalid_grant");
    EXPECT_FALSE(provider.holderOf(tokens.accessToken, start));
    EXPECT_EQ(errorOf(refreshForm(*tokens.refreshToken)), "invalid_grant");
}

TEST_F(OAuthProviderTest, ACodeIsBoundToItsRequest) {
    const auto with = [&](const std::string& name, const std::string& value) {
        Form form = codeForm(code());
        form[name] = value;
        return form;
    };
    EXPECT_EQ(errorOf(with("client_id", "someone")), "invalid_client");
    EXPECT_EQ(errorOf(with("redirect_uri", callback + "/")), "invalid_grant");
    EXPECT_EQ(errorOf(with("code_verifier", challenge)), "invalid_grant");
    EXPECT_EQ(errorOf(with("code_verifier", "")), "invalid_grant");
    EXPECT_EQ(errorOf(with("code", "code_unknown")), "invalid_grant");
    EXPECT_EQ(errorOf(with("grant_type", "password")), "unsupported_grant_type");
    EXPECT_EQ(errorOf(with("grant_type", "")), "invalid_request");
    EXPECT_EQ(errorOf(codeForm(code()), start + 59s), "none");
    EXPECT_EQ(errorOf(codeForm(code()), start + 60s), "invalid_grant");

    Form failed = codeForm(code());
    failed["code_verifier"] = challenge;
    EXPECT_EQ(errorOf(failed), "invalid_grant");
    failed["code_verifier"] = verifier;
    EXPECT_EQ(errorOf(failed), "invalid_grant") << "a failed attempt uses the code up";
}

TEST_F(OAuthProviderTest, RefreshHandsOutWhatThePolicySays) {
    struct Case {
        RefreshPolicy policy;
        bool givesToken;
        bool oldOneLives;
    };
    for (const Case& c : {Case{RefreshPolicy::Rotate, true, false}, Case{RefreshPolicy::Omit, false, true},
                          Case{RefreshPolicy::Keep, true, true}, Case{RefreshPolicy::None, false, true}}) {
        SCOPED_TRACE(static_cast<int>(c.policy));
        provider.setPolicy({3600s, RefreshPolicy::Rotate});
        const std::string old = *signIn().refreshToken;
        provider.setPolicy({3600s, c.policy});
        const auto tokens = std::get<IssuedTokens>(provider.exchange(refreshForm(old), start));
        EXPECT_EQ(tokens.refreshToken.has_value(), c.givesToken);
        EXPECT_EQ(tokens.refreshToken == old, c.policy == RefreshPolicy::Keep);
        EXPECT_TRUE(provider.holderOf(tokens.accessToken, start));
        EXPECT_EQ(errorOf(refreshForm(old)), c.oldOneLives ? "none" : "invalid_grant");
        if (tokens.refreshToken) {
            EXPECT_EQ(errorOf(refreshForm(*tokens.refreshToken)), "none");
        }
    }
    EXPECT_FALSE(signIn().refreshToken) << "the last policy gives none at sign-in either";
}

TEST_F(OAuthProviderTest, RevokingEitherTokenEndsThatSessionAlone) {
    const IssuedTokens first = signIn();
    const IssuedTokens second = signIn();
    EXPECT_FALSE(provider.holderOf(*first.refreshToken, start)) << "a refresh token is no access token";
    EXPECT_EQ(errorOf(refreshForm(first.accessToken)), "invalid_grant");
    provider.revoke(*first.refreshToken);
    EXPECT_FALSE(provider.holderOf(first.accessToken, start));
    EXPECT_EQ(errorOf(refreshForm(*first.refreshToken)), "invalid_grant");
    EXPECT_TRUE(provider.holderOf(second.accessToken, start));
    provider.revoke("unknown");
    provider.revoke("");
    EXPECT_EQ(provider.counts().revocations, 1u);
    provider.revoke(second.accessToken);
    EXPECT_EQ(errorOf(refreshForm(*second.refreshToken)), "invalid_grant");
    EXPECT_EQ(provider.counts().sessions, 0u);
}
