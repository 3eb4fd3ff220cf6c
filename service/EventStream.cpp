#include "EventStream.h"

#include <algorithm>
#include <array>

namespace teskal::service {

namespace {

constexpr char recordSeparator = 0x1E;
constexpr char groupSeparator = 0x1D;

bool isContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}
bool isLead(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0xC0;
}

/// Moves a cut that would fall beside a multi-byte character into that character.
std::size_t worstCut(const std::string& bytes, std::size_t cut) {
    if (cut >= bytes.size() || isContinuation(bytes[cut]))
        return std::min(cut, bytes.size());
    if (isLead(bytes[cut]))
        return cut + 1;
    if (cut > 1 && isContinuation(bytes[cut - 1]))
        return cut - 1;
    return cut;
}

void appendPieces(std::vector<Piece>& pieces, const std::string& bytes, std::size_t pieceSize,
                  int ticksBefore) {
    // Uneven sizes, in eighths of the wanted size, so that no boundary repeats with the text.
    static constexpr std::array<std::size_t, 8> eighths = {9, 3, 14, 6, 1, 12, 8, 11};
    std::size_t begin = 0;
    while (begin < bytes.size()) {
        const std::size_t size =
            std::max<std::size_t>(1, pieceSize * eighths[pieces.size() % eighths.size()] / 8);
        std::size_t end = worstCut(bytes, begin + size);
        if (end <= begin)
            end = begin + 1;
        pieces.push_back({bytes.substr(begin, end - begin), begin == 0 ? ticksBefore + 1 : 1});
        begin = end;
    }
}

} // namespace

Script& Script::text(std::string markdown) {
    items_.push_back({Kind::Text, std::move(markdown)});
    return *this;
}

Script& Script::phase(const std::string& name) {
    return event({{"type", "phase"}, {"phase", name}});
}
Script& Script::search(const std::string& query) {
    return event({{"type", "search"}, {"query", query}});
}
Script& Script::plan(const std::vector<std::string>& steps) {
    return event({{"type", "plan"}, {"steps", steps}});
}

Script& Script::wait(int ticks) {
    items_.push_back({Kind::Wait, {}, ticks});
    return *this;
}

Script& Script::unfinishedEvent(std::string bytes) {
    items_.push_back({Kind::UnfinishedEvent, std::move(bytes)});
    return *this;
}

std::string Script::plainText() const {
    std::string text;
    for (const Item& item : items_) {
        if (item.kind == Kind::Text)
            text += item.bytes;
    }
    return text;
}

Script& Script::event(const Json& event) {
    items_.push_back({Kind::Event, jsonText(event)});
    return *this;
}

std::vector<Piece> frame(const Script& script, bool withEvents, std::size_t pieceSize) {
    std::vector<Piece> pieces;
    std::string pending;
    int ticksBefore = 0;
    for (const Script::Item& item : script.items_) {
        switch (item.kind) {
        case Script::Kind::Text:
            pending += item.bytes;
            break;
        case Script::Kind::Event:
            if (withEvents)
                pending += recordSeparator + item.bytes + groupSeparator;
            break;
        case Script::Kind::UnfinishedEvent:
            pending += recordSeparator + item.bytes;
            break;
        case Script::Kind::Wait:
            appendPieces(pieces, pending, pieceSize, ticksBefore);
            ticksBefore = pending.empty() ? ticksBefore + item.ticks : item.ticks;
            pending.clear();
            break;
        }
    }
    appendPieces(pieces, pending, pieceSize, ticksBefore);
    return pieces;
}

std::vector<Piece> cutInto(const std::string& bytes, const std::vector<std::size_t>& sizes) {
    std::vector<Piece> pieces;
    std::size_t begin = 0;
    while (begin < bytes.size()) {
        const std::size_t size =
            sizes.empty() ? bytes.size() : std::max<std::size_t>(1, sizes[pieces.size() % sizes.size()]);
        pieces.push_back({bytes.substr(begin, size), 1});
        begin += pieces.back().bytes.size();
    }
    return pieces;
}

} // namespace teskal::service
