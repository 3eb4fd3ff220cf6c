#include "Encoding.h"
#include "Forms.h"
#include "Options.h"
#include "Picture.h"
#include "SafeJson.h"

#include <gtest/gtest.h>
#include <zlib.h>

using namespace teskal::service;

TEST(Encoding, PercentDecodingRefusesBrokenEscapes) {
    EXPECT_EQ(percentDecode("a%20b%C3%A9"), "a bé");
    EXPECT_EQ(percentEncode("a b/é~"), "a%20b%2F%C3%A9~");
    for (const char* bad : {"%", "%2", "a%zz", "%%20", "%2"})
        EXPECT_FALSE(percentDecode(bad)) << bad;
}

TEST(Encoding, Utf8IsChecked) {
    for (const char* good : {"", "a", "é", "€", "😀", "\xEE\x80\x80", "\xF4\x8F\xBF\xBF"})
        EXPECT_TRUE(isUtf8(good)) << good;
    for (const char* bad : {"\x80", "\xC3", "\xC0\xAF", "\xE2\x82", "\xE0\x9F\xBF", "\xED\xA0\x80",
                            "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xFF", "a\xC3z"})
        EXPECT_FALSE(isUtf8(bad));
}

TEST(Encoding, Base64RoundTripsEveryLength) {
    std::string bytes;
    for (int length = 0; length < 40; ++length) {
        EXPECT_EQ(fromBase64(base64(bytes)), bytes);
        bytes += static_cast<char>(length * 37 + 200);
    }
    EXPECT_FALSE(fromBase64("abc"));
    EXPECT_FALSE(fromBase64("a*bc"));
}

TEST(Forms, ReadsFieldsAndRefusesWhatIsAmbiguous) {
    EXPECT_EQ(*parseForm("a=1+2&b=%2B%3D&c&&d="), (Form{{"a", "1 2"}, {"b", "+="}, {"c", ""}, {"d", ""}}));
    EXPECT_TRUE(parseForm("")->empty());
    EXPECT_FALSE(parseForm("a=1&a=2"));
    EXPECT_FALSE(parseForm("a=%"));
    EXPECT_FALSE(parseForm("a=%FF"));
    std::string many;
    for (int i = 0; i < 65; ++i)
        many += "k" + std::to_string(i) + "=v&";
    EXPECT_FALSE(parseForm(many));
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

TEST(Picture, IsAWholePng) {
    const std::string png = drawPicture("a harbour");
    ASSERT_EQ(png.substr(0, 8), "\x89PNG\r\n\x1a\n");
    const auto number = [&](std::size_t at) {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < 4; ++i)
            value = value << 8 | static_cast<unsigned char>(png.at(at + i));
        return value;
    };
    std::string types, data;
    for (std::size_t at = 8; at < png.size();) {
        const std::uint32_t length = number(at);
        const std::string body = png.substr(at + 4, length + 4);
        EXPECT_EQ(number(at + 8 + length),
                  crc32(0, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size())));
        types += body.substr(0, 4) + " ";
        if (body.starts_with("IDAT"))
            data = body.substr(4);
        at += length + 12;
    }
    EXPECT_EQ(types, "IHDR IDAT IEND ");
    const uLong expected = number(20) * (number(16) * 3 + 1);
    std::string raw(expected + 1, '\0');
    uLongf size = raw.size();
    ASSERT_EQ(uncompress(reinterpret_cast<Bytef*>(raw.data()), &size,
                         reinterpret_cast<const Bytef*>(data.data()), static_cast<uLong>(data.size())),
              Z_OK);
    EXPECT_EQ(size, expected);
    EXPECT_NE(png, drawPicture("a mountain"));
}
