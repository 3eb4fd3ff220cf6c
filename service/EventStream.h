#pragma once

#include "HttpValues.h"

#include <string>
#include <vector>

namespace teskal::service {

/// What an answer does while it is being written, in order: text, progress events and pauses.
class Script {
public:
    Script& text(std::string markdown);
    Script& phase(const std::string& name);
    Script& search(const std::string& query);
    Script& plan(const std::vector<std::string>& steps);
    /// A pause of `ticks` chunk delays before what follows.
    Script& wait(int ticks);
    /// Opens an event with `bytes` inside and never closes it.
    Script& unfinishedEvent(std::string bytes);

    /// All text, without events.
    std::string plainText() const;

private:
    friend std::vector<Piece> frame(const Script& script, bool withEvents, std::size_t pieceSize);

    enum class Kind { Text, Event, Wait, UnfinishedEvent };
    struct Item {
        Kind kind;
        std::string bytes;
        int ticks = 0;
    };
    Script& event(const Json& event);
    std::vector<Item> items_;
};

/// Frames a script as the chat stream: text as it stands, each event as 0x1E JSON 0x1D. The bytes are cut
/// into pieces of about `pieceSize` at the worst places, inside events and inside UTF-8 sequences, because
/// a network cuts there too. Without events only the text (and an unfinished event) is framed.
std::vector<Piece> frame(const Script& script, bool withEvents, std::size_t pieceSize);

/// Cuts `bytes` into pieces of the given sizes, which repeat; sizes of 0 count as 1.
std::vector<Piece> cutInto(const std::string& bytes, const std::vector<std::size_t>& sizes);

} // namespace teskal::service
