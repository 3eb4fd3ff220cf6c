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
        {"Why does this error happen?", "> Why does this"}, // only the first words ask for a failure
        {"Why?\nTell me", "> Why? Tell me\n"},              // the quote stays one line
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

TEST(Answers, TitlesComeFromTheFirstWords) {
    EXPECT_EQ(ask("  why is my sourdough\n flat?  ").title, "Why is my sourdough flat");
    EXPECT_EQ(ask(" \n").title, "New chat");
    EXPECT_EQ(ask("one two three four five six seven eight nine ten eleven").title,
              "One two three four five six seven eight nine ten");
    std::string longWord = "x";
    for (int i = 0; i < 600; ++i)
        longWord += "é";
    const Answer answer = ask(longWord);
    EXPECT_TRUE(isUtf8(textOf(answer)) && isUtf8(answer.title)) << "no character is cut";
    EXPECT_LE(answer.title.size(), 140u);
}
