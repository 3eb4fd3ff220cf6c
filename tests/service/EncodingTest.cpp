#include "Encoding.h"
#include "Forms.h"
#include "Options.h"
#include "SafeJson.h"

#include <gtest/gtest.h>

using namespace teskal::service;

TEST(Encoding, Utf8IsChecked) {
    for (const char* good : {"", "a", "é", "€", "😀", "\xEE\x80\x80", "\xF4\x8F\xBF\xBF"})
        EXPECT_TRUE(isUtf8(good)) << good;
    for (const char* bad : {"\x80", "\xC3", "\xC0\xAF", "\xE2\x82", "\xE0\x9F\xBF", "\xED\xA0\x80",
                            "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xFF", "a\xC3z"})
        EXPECT_FALSE(isUtf8(bad));
}

TEST(Forms, RefuseWhatIsAmbiguous) {
    EXPECT_EQ(*parseForm("a=1+2&b=%2B%3D&c&&d="), (Form{{"a", "1 2"}, {"b", "+="}, {"c", ""}, {"d", ""}}));
    for (const char* bad : {"a=1&a=2", "a=%", "a=%2", "a=%zz", "a=%FF"})
        EXPECT_FALSE(parseForm(bad)) << bad;
}

TEST(SafeJsonTest, NestingIsBoundedBeforeAnythingIsBuilt) {
    const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    EXPECT_TRUE(parseJson(nested(64)));
    EXPECT_FALSE(parseJson(nested(65)));
    EXPECT_FALSE(parseJson(nested(10'000)));
    EXPECT_FALSE(parseJson(std::string(1'000'000, '{')));
    EXPECT_TRUE(parseJson("\"" + std::string(10'000, '[') + "\\\"[\"")) << "brackets inside a string";
    for (const char* bad : {"", "{", "{\"a\":}", "\"\xFF\"", "1e400", "\"\\ud83d\"", "[1] x"})
        EXPECT_FALSE(parseJson(bad)) << bad;
}

TEST(OptionsTest, UnderstandsItsArguments) {
    const auto options = std::get<Options>(
        parseOptions({"--port", "8080", "--auto-consent", "--control", "--access-token-seconds=5",
                      "--refresh-tokens", "omit", "--chunk-delay-ms", "0", "--parent-pid", "7"}));
    EXPECT_EQ(options.port, 8080);
    EXPECT_TRUE(options.autoConsent && options.control);
    EXPECT_EQ(options.tokens.accessTokenLife.count(), 5);
    EXPECT_EQ(options.tokens.refresh, RefreshPolicy::Omit);
    EXPECT_EQ(options.chunkDelay.count(), 0);
    EXPECT_EQ(options.parentPid, 7);
    EXPECT_EQ(std::get<Farewell>(parseOptions({"--help"})).status, 0);
    using Arguments = std::vector<std::string>;
    for (const Arguments& bad : {Arguments{"--what"},
                                 {"--port"},
                                 {"--port", "70000"},
                                 {"--port", "8x"},
                                 {"extra"},
                                 {"--refresh-tokens", "maybe"},
                                 {"--chunk-delay-ms", "-1"}}) {
        const auto parsed = parseOptions(bad);
        const auto* farewell = std::get_if<Farewell>(&parsed);
        ASSERT_TRUE(farewell) << bad[0];
        EXPECT_EQ(farewell->status, 2);
        EXPECT_EQ(farewell->text.find('\n'), farewell->text.size() - 1) << "one line";
    }
}
