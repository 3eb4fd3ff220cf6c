#include "Answers.h"
#include "Encoding.h"
#include "EventStream.h"
#include "Forms.h"
#include "StreamReader.h"

#include <gtest/gtest.h>
#include <sstream>

using namespace teskal::service;

namespace {

Answer ask(const std::string& question) {
    return answerTo(ChatRequest{{{"user", question, {}}}});
}

std::string textOf(const Answer& answer) {
    const auto* written = std::get_if<WrittenAnswer>(&answer.content);
    return written ? written->script.plainText() : "";
}

bool isPlainAnswer(const Answer& answer) {
    return textOf(answer).find("with no model behind me") != std::string::npos;
}

} // namespace

TEST(Answers, EverythingThatHelpNamesExists) {
    std::istringstream help(textOf(ask("help")));
    int named = 0;
    for (std::string line; std::getline(help, line);) {
        if (!line.starts_with("- **"))
            continue;
        ++named;
        const std::string word = line.substr(4, line.find("**", 4) - 4);
        EXPECT_FALSE(isPlainAnswer(ask(word))) << word;
    }
    EXPECT_GT(named, 15);
}

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

TEST(EventStream, CutsInsideCharactersAndEvents) {
    Script script;
    for (int i = 0; i < 20; ++i)
        script.search("Zürich €").text("größer 日本語 😀 ");
    const auto pieces = frame(script, true, 6);
    std::size_t insideCharacter = 0;
    std::size_t insideEvent = 0;
    std::string sofar;
    for (const Piece& piece : pieces) {
        EXPECT_LE(piece.bytes.size(), 12u);
        sofar += piece.bytes;
        insideCharacter += isUtf8(sofar) ? 0 : 1;
        insideEvent += StreamReader(sofar).unfinished.empty() ? 0 : 1;
    }
    EXPECT_GT(insideCharacter, pieces.size() / 4);
    EXPECT_GT(insideEvent, 20u);
}
