#include "FolderDocument.h"
#include "CanonicalJson.h"

#include <gtest/gtest.h>

using namespace teskal::service;

namespace {

FolderDocument document(const std::string& json) {
    return FolderDocument::fromJson(Json::parse(json));
}

std::string folder(const std::string& id, const std::string& name, double updatedAt) {
    return canonicalText(Folder{id, name, 0, 1, updatedAt});
}

} // namespace

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
    std::string full; // 4,096 code units
    for (int i = 0; i < 2048; ++i)
        full += "\xF0\x9F\x98\x80";
    for (const auto& [text, isKept] : {std::pair{full, true}, {full + 'x', false}, {std::string(), false}}) {
        SCOPED_TRACE(text.size());
        const FolderDocument read = document(R"({"folders":[)" + folder(text, "A", 5) + ',' +
                                             folder("f", text, 5) + R"(],"assignments":[{"chatId":")" + text +
                                             R"(","updatedAt":1}],"deleted":{")" + text + R"(":5}})");
        EXPECT_EQ(read.folders.count(text), isKept);
        EXPECT_EQ(read.folders.count("f"), isKept || text.empty()) << "a name may be empty";
        EXPECT_EQ(read.assignments.count(text), isKept);
        EXPECT_EQ(read.deleted.count(text), isKept);
    }
}

// How ties are settled, and that merging is the client's, is seen by the client's tests; these are the
// limits.
TEST(CanonicalJson, NumbersAndOrderAreThoseOfEcmaScript) {
    const std::pair<double, const char*> numbers[] = {{5e-324, "5e-324"},
                                                      {-0.0, "0"},
                                                      {1.7976931348623157e308, "1.7976931348623157e+308"},
                                                      {1e21, "1e+21"},
                                                      {999999999999999900000.0, "999999999999999900000"},
                                                      {9.999999999999997e-7, "9.999999999999997e-7"},
                                                      {1e-6, "0.000001"},
                                                      {-333333333.3333332, "-333333333.3333332"}};
    for (const auto& [number, text] : numbers)
        EXPECT_EQ(numberText(number), text);
    // Beyond U+FFFF come surrogates, and those before U+E000.
    const char* const order[] = {"", "A", "AA", "a", "\xED\x9F\xBF", "\xF0\x9F\x98\x80", "\xEE\x80\x80"};
    for (std::size_t i = 0; i < std::size(order); ++i) {
        for (std::size_t j = 0; j < std::size(order); ++j)
            EXPECT_EQ(lessUtf16(order[i], order[j]), i < j) << i << ' ' << j;
    }
}
