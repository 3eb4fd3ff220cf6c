#include "EventStream.h"
#include "Encoding.h"
#include "StreamReader.h"

#include <algorithm>
#include <gtest/gtest.h>

using namespace teskal::service;

namespace {

std::string joined(const std::vector<Piece>& pieces) {
    std::string bytes;
    for (const Piece& piece : pieces)
        bytes += piece.bytes;
    return bytes;
}

} // namespace

TEST(EventStream, CarriesTextAndEventsInOrder) {
    Script script;
    script.phase("Thinking").wait(3).text("Hel").search("x\x1D?").text("lo").plan({"a", "ü"}).text(" wörld");
    for (const std::size_t pieceSize : {1u, 2u, 7u, 1000u}) {
        const auto pieces = frame(script, true, pieceSize);
        const StreamReader reader(joined(pieces));
        EXPECT_EQ(reader.text, "Hello wörld");
        ASSERT_EQ(reader.events.size(), 3u);
        EXPECT_EQ(reader.events[0], Json({{"type", "phase"}, {"phase", "Thinking"}}));
        EXPECT_EQ(reader.events[1], Json({{"type", "search"}, {"query", "x\x1D?"}}))
            << "separators are escaped";
        EXPECT_EQ(reader.events[2], Json({{"type", "plan"}, {"steps", {"a", "ü"}}}));
        EXPECT_TRUE(
            std::none_of(pieces.begin(), pieces.end(), [](const Piece& p) { return p.bytes.empty(); }));
    }
    EXPECT_EQ(joined(frame(script, false, 5)), "Hello wörld");
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

TEST(EventStream, APauseDelaysOnlyThePieceAfterIt) {
    Script script;
    script.text("aaaa").wait(10).wait(5).text("bbbb").wait(7);
    const auto pieces = frame(script, true, 100);
    ASSERT_EQ(pieces.size(), 2u);
    EXPECT_EQ(pieces[0].ticks, 1);
    EXPECT_EQ(pieces[1].ticks, 16);
}

TEST(EventStream, GivenSizesRepeat) {
    std::vector<std::size_t> sizes;
    for (const Piece& piece : cutInto("abcdefghij", {1, 3, 0}))
        sizes.push_back(piece.bytes.size());
    EXPECT_EQ(sizes, (std::vector<std::size_t>{1, 3, 1, 1, 3, 1}));
    EXPECT_EQ(cutInto("abc", {}).size(), 1u);
}
