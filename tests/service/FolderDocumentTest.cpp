#include "FolderDocument.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

using namespace teskal::service;

namespace {

constexpr std::int64_t now = 1'800'000'000'000;
constexpr std::int64_t year = 31'536'000'000; ///< 365 days in ms

FolderDocument document(const std::string& json) {
    return FolderDocument::fromJson(Json::parse(json));
}

FolderDocument join(const FolderDocument& a, const FolderDocument& b) {
    return merge(std::array{a, b}, now);
}

std::string folder(const std::string& id, const std::string& name, double updatedAt) {
    return canonicalText(Folder{id, name, 0, 1, updatedAt});
}

std::string folders(const std::string& list, const std::string& deleted = "{}") {
    return R"({"folders":[)" + list + R"(],"deleted":)" + deleted + "}";
}

std::string assignments(const std::string& list) {
    return R"({"assignments":[)" + list + "]}";
}

} // namespace

TEST(FolderDocument, TheLaterVersionWinsAndTheGreaterTextATie) {
    const std::string old = std::to_string(now - year - 1);
    const std::string kept = std::to_string(now - year);
    struct Case {
        const char* what;
        std::string a, b, merged;
    };
    const Case cases[] = {
        {"later", folders(folder("f", "A", 5)), folders(folder("f", "B", 4)), folders(folder("f", "A", 5))},
        {"tie by name", folders(folder("f", "A", 5)), folders(folder("f", "B", 5)),
         folders(folder("f", "B", 5))},
        {"tie by code units: an emoji is less than U+FF5E", folders(folder("f", "\xF0\x9F\x98\x80", 5)),
         folders(folder("f", "\xEF\xBD\x9E", 5)), folders(folder("f", "\xEF\xBD\x9E", 5))},
        {"tie by text, not by number: 9 is greater than 10",
         R"({"folders":[{"id":"f","name":"A","order":10,"createdAt":1,"updatedAt":5}]})",
         R"({"folders":[{"id":"f","name":"A","order":9,"createdAt":1,"updatedAt":5}]})",
         R"({"folders":[{"id":"f","name":"A","order":9,"createdAt":1,"updatedAt":5}]})"},
        {"a tie in one document", folders(folder("f", "B", 5) + ',' + folder("f", "A", 5)), "{}",
         folders(folder("f", "B", 5))},
        {"a deletion wins a tie", folders(folder("f", "A", 5e12)), folders("", R"({"f":5e12})"),
         folders("", R"({"f":5e12})")},
        {"a change after the deletion", folders(folder("f", "A", 5e12)), folders("", R"({"f":4e12})"),
         folders(folder("f", "A", 5e12), R"({"f":4e12})")},
        {"the later deletion", folders("", R"({"f":5e12})"), folders("", R"({"f":4e12})"),
         folders("", R"({"f":5e12})")},
        {"a deletion of a year is forgotten first", folders(folder("f", "A", 5)),
         folders("", "{\"f\":" + old + "}"), folders(folder("f", "A", 5))},
        {"a deletion of exactly a year", folders(folder("f", "A", 5)), folders("", "{\"f\":" + kept + "}"),
         folders("", "{\"f\":" + kept + "}")},
        {"assignment, later", assignments(R"({"chatId":"c","folderId":"x","updatedAt":2})"),
         assignments(R"({"chatId":"c","folderId":null,"updatedAt":3})"),
         assignments(R"({"chatId":"c","updatedAt":3})")},
        {"assignment, tie: null is greater than a text",
         assignments(R"({"chatId":"c","folderId":"x","updatedAt":2})"),
         assignments(R"({"chatId":"c","updatedAt":2})"), assignments(R"({"chatId":"c","updatedAt":2})")},
        {"an assignment outlives its folder", assignments(R"({"chatId":"c","folderId":"x","updatedAt":2})"),
         folders("", R"({"x":5e12})"),
         R"({"assignments":[{"chatId":"c","folderId":"x","updatedAt":2}],"deleted":{"x":5e12}})"},
    };
    for (const Case& c : cases) {
        const std::string expected = document(c.merged).toText();
        EXPECT_EQ(join(document(c.a), document(c.b)).toText(), expected) << c.what;
        EXPECT_EQ(join(document(c.b), document(c.a)).toText(), expected) << c.what;
    }
}

TEST(FolderDocument, BadEntriesCostOnlyThemselves) {
    const std::string good = folder("f", "A", 5);
    const FolderDocument read = document(
        R"({"folders":[7,null,[],{},{"id":"g","name":"B","order":0,"createdAt":1},
            {"id":7,"name":"B","order":0,"createdAt":1,"updatedAt":2},
            {"id":"h","name":"B","order":"0","createdAt":1,"updatedAt":2},)" +
        good + R"(],"assignments":["x",{"chatId":"c"},{"chatId":"d","folderId":7,"updatedAt":1},
            {"chatId":"e","folderId":"f","updatedAt":1,"more":true}],
            "deleted":{"x":"5","y":null,"z":6},"unknown":[1]})");
    EXPECT_EQ(read.toText(),
              R"({"folders":[)" + good +
                  R"(],"assignments":[{"chatId":"e","folderId":"f","updatedAt":1}],"deleted":{"z":6}})");
    for (const char* odd : {"{}", "[]", "7", R"({"folders":{},"assignments":7,"deleted":[1]})"})
        EXPECT_EQ(document(odd).toText(), R"({"folders":[],"assignments":[],"deleted":{}})") << odd;
}

TEST(FolderDocument, LongTextsAndEmptyIdentifiersAreLeftOut) {
    const auto emojis = [](std::size_t count) { // two code units each
        std::string text;
        for (std::size_t i = 0; i < count; ++i)
            text += "\xF0\x9F\x98\x80";
        return text;
    };
    for (const auto& [text, isKept] :
         {std::pair{emojis(2048), true}, std::pair{emojis(2048) + 'x', false},
          std::pair{std::string(4096, 'x'), true}, std::pair{std::string(), false}}) {
        SCOPED_TRACE(text.size());
        const std::string filed = R"({"chatId":"c","updatedAt":1,"folderId":")" + text + "\"}";
        const FolderDocument read =
            document(R"({"folders":[)" + folder(text, "A", 5) + ',' + folder("f", text, 5) +
                     R"(],"assignments":[{"chatId":")" + text + R"(","updatedAt":1},)" + filed +
                     R"(],"deleted":{")" + text + R"(":5}})");
        const bool isShort = isKept || text.empty(); // a name may be empty
        EXPECT_EQ(read.folders.count(text), isKept);
        EXPECT_EQ(read.folders.count("f"), isShort);
        EXPECT_EQ(read.assignments.count(text), isKept);
        EXPECT_EQ(read.assignments.count("c"), isShort);
        EXPECT_EQ(read.deleted.count(text), isKept);
    }
}

TEST(FolderDocument, MergingIsCommutativeAssociativeAndIdempotent) {
    std::mt19937 random(20);
    const auto upTo = [&](unsigned limit) { return static_cast<unsigned>(random() % limit); };
    const char* const names[] = {"a", "A", "\xF0\x9F\x98\x80", "\xEF\xBD\x9E", "\""};
    // Few identifiers and few times, around the age at which deletions are forgotten, so that all of it
    // collides.
    const auto time = [&] { return static_cast<double>(now - year) - 2 + upTo(5); };
    const auto any = [&] {
        FolderDocument made;
        for (unsigned i = 0; i < 6; ++i) {
            const std::string id(1, static_cast<char>('f' + upTo(4)));
            if (upTo(3) == 0)
                made.deleted[id] = time();
            else
                made.folders[id] = {id, names[upTo(5)], upTo(3) / 4.0, 1, time()};
            const std::string chat(1, static_cast<char>('c' + upTo(3)));
            made.assignments[chat] = {chat, upTo(3) ? std::optional(id) : std::nullopt, time()};
        }
        return made;
    };
    for (int round = 0; round < 2000; ++round) {
        const FolderDocument a = any();
        const FolderDocument b = any();
        const FolderDocument c = any();
        const std::string all = merge(std::array{a, b, c}, now).toText();
        ASSERT_EQ(join(join(a, b), c).toText(), all) << round;
        ASSERT_EQ(join(a, join(c, b)).toText(), all) << round;
        const FolderDocument merged = join(a, b);
        ASSERT_EQ(join(merged, a).toText(), merged.toText()) << round;
        ASSERT_EQ(document(merged.toText()).toText(), merged.toText()) << round;
    }
}
