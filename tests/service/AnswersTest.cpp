#include "Answers.h"
#include "Encoding.h"

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

TEST(Answers, TheWordsOfTheQuestionChooseTheKind) {
    const std::pair<const char*, const char*> cases[] = {
        {"Plan a weekend in Trieste by train", "### Saturday, dry"},
        {"I need a parser for this grammar.", "```cpp"},
        {"Show me a TABLE!", "|:---"},
        {"some code, please", "```python"},
        {"math", "$$"},
        {"a list", "- [x]"},
        {"Search for trains", "Sources: "},
        {"what can you do?", "**table**"},
        {"Help", "**cut**"},
        {"Is a stable a tablet?", "> Is a stable a tablet?"},
    };
    for (const auto& [question, expected] : cases)
        EXPECT_NE(textOf(ask(question)).find(expected), std::string::npos) << question;
    EXPECT_GE(textOf(ask("long")).size(), 100u * 1024);
    EXPECT_TRUE(trimmed(textOf(ask("empty"))).empty());
}

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

TEST(Answers, MediaAndFailures) {
    const Answer picture = ask("Draw a picture of a harbour");
    const auto& image = std::get<MediaAnswer>(picture.content).body;
    EXPECT_EQ(image["type"], "image");
    EXPECT_TRUE(image["dataUrl"].get<std::string>().starts_with("data:image/png;base64,iVBORw0KGgo"));
    EXPECT_EQ(std::get<MediaAnswer>(ask("a video").content).body["type"], "video");
    const Answer music = ask("a song");
    EXPECT_EQ(std::get<MediaAnswer>(music.content).body["type"], "music");
    EXPECT_TRUE(std::get<MediaAnswer>(music.content).body["lyrics"].is_string());

    EXPECT_EQ(std::get<FailedAnswer>(ask("error").content).status, 500);
    const Answer broke = ask("Error: credits");
    EXPECT_EQ(std::get<FailedAnswer>(broke.content).status, 402);
    EXPECT_EQ(std::get<FailedAnswer>(broke.content).code, "INSUFFICIENT_CREDITS");
    EXPECT_TRUE(isPlainAnswer(ask("Why does this error happen?")))
        << "only the first words ask for a failure";
}

TEST(Answers, ThePlainAnswerQuotesTheQuestionWhole) {
    EXPECT_NE(textOf(ask("Why?\nTell me")).find("> Why? Tell me\n"), std::string::npos)
        << "the quote stays one line";
    std::string longQuestion;
    for (int i = 0; i < 300; ++i)
        longQuestion += "é";
    longQuestion += "x" + longQuestion;
    const Answer answer = ask(longQuestion);
    EXPECT_TRUE(isUtf8(textOf(answer)));
    EXPECT_TRUE(isUtf8(answer.title));
    EXPECT_LE(answer.title.size(), 140u);
}

TEST(Answers, TitlesComeFromTheFirstWords) {
    EXPECT_EQ(ask("  why is my sourdough\n flat?  ").title, "Why is my sourdough flat");
    EXPECT_EQ(ask("plan a trip").title, "Weekend in Trieste, by train");
    EXPECT_EQ(ask(" \n").title, "New chat");
    const std::string title = ask("one two three four five six seven eight nine ten eleven twelve").title;
    EXPECT_EQ(title, "One two three four five six seven eight nine ten");
}
