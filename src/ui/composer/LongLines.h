#pragma once

#include <QString>

class QTextCursor;
class QTextDocument;

namespace teskal {

/// Keeps a line of any length quick to edit. The editor lays out a whole block at every change, which takes
/// seconds for a line of a megabyte, so that such a line is kept in several blocks. What is read here has the
/// line whole again.
struct LongLines {
    LongLines() = delete;

    /// Puts \a text in place of the cursor's selection, as one step that can be undone.
    static void insert(QTextCursor& cursor, const QString& text);
    /// Begins a new line at the cursor.
    static void breakLine(QTextCursor& cursor);

    /// The document's text, white space of every kind as it was entered, lines parted by "\n".
    static QString textOf(const QTextDocument& document);
    static QString selectedText(const QTextCursor& cursor);
};

} // namespace teskal
