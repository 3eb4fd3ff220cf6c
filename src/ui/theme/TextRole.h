#pragma once

namespace teskal {

/// What a piece of text is for; Theme gives each its font, in proportion to the system's.
enum class TextRole {
    Body,       ///< the interface
    BodyStrong, ///< titles in bars
    Reading,    ///< what is written and read at length
    Lead,       ///< the paragraph under a headline
    Quiet,      ///< quieter lines
    Note,       ///< the least of lines
    Group,      ///< headings in lists
    Title,      ///< of a sheet
    Headline,
    Display,
};

} // namespace teskal
