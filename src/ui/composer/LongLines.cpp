#include "LongLines.h"

#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

#include <algorithm>

namespace teskal {

namespace {

constexpr qsizetype longLine = 4000;
constexpr qsizetype pieceLength = 2000;
/// How far before its end a piece may end for the sake of whole words.
constexpr qsizetype wordReach = 100;

/// Of a block that goes on with the line of the block before it. Being a format it is undone with the text.
constexpr int continuesLine = QTextFormat::UserProperty + 1;

QTextBlockFormat continuation() {
    QTextBlockFormat format;
    format.setProperty(continuesLine, true);
    return format;
}

bool continues(const QTextBlock& block) {
    return block.blockFormat().hasProperty(continuesLine);
}

/// Where a piece of \a line that begins at \a from ends: between words if it can be, never inside a letter.
qsizetype pieceEnd(QStringView line, qsizetype from) {
    const qsizetype most = from + pieceLength;
    if (line.size() <= most)
        return line.size();
    for (qsizetype end = most; end > most - wordReach; --end) {
        if (line.at(end - 1).isSpace())
            return end;
    }
    qsizetype end = most;
    while (end > most - wordReach && (line.at(end).isLowSurrogate() || line.at(end).isMark() ||
                                      line.at(end) == QChar(0x200D) || line.at(end - 1) == QChar(0x200D)))
        --end;
    return end;
}

void insertLine(QTextCursor& cursor, QStringView line) {
    if (line.size() <= longLine) {
        cursor.insertText(line.toString());
        return;
    }
    for (qsizetype from = 0; from < line.size();) {
        const qsizetype end = pieceEnd(line, from);
        if (from > 0)
            cursor.insertBlock(continuation());
        cursor.insertText(line.mid(from, end - from).toString());
        from = end;
    }
}

/// With no other end of a line than "\n": the editor takes each of them for one, but would have the line that
/// follows go on with the one before.
QString withPlainEnds(QString text) {
    return text.replace(QLatin1String("\r\n"), QLatin1String("\n"))
        .replace(QLatin1Char('\r'), QLatin1Char('\n'))
        .replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
}

bool hasLongLine(QStringView text) {
    qsizetype begin = 0;
    while (text.size() - begin > longLine) {
        const qsizetype end = text.indexOf(QLatin1Char('\n'), begin);
        if (end < 0 || end - begin > longLine)
            return true;
        begin = end + 1;
    }
    return false;
}

bool hasPieces(const QTextDocument& document) {
    const QList<QTextFormat> formats = document.allFormats();
    return std::any_of(formats.begin(), formats.end(),
                       [](const QTextFormat& format) { return format.hasProperty(continuesLine); });
}

/// \a text, which is the document's, without what parts the pieces of a line.
QString joined(const QString& text, const QTextDocument& document) {
    QString whole;
    whole.reserve(text.size());
    int from = 0;
    for (QTextBlock block = document.firstBlock().next(); block.isValid(); block = block.next()) {
        if (!continues(block))
            continue;
        whole += QStringView(text).mid(from, block.position() - 1 - from);
        from = block.position();
    }
    return whole += QStringView(text).mid(from);
}

} // namespace

void LongLines::insert(QTextCursor& cursor, const QString& text) {
    cursor.beginEditBlock();
    cursor.removeSelectedText();
    if (!hasLongLine(text) && !continues(cursor.block())) {
        cursor.insertText(text);
    } else {
        bool first = true;
        const QString plain = withPlainEnds(text);
        for (const QStringView line : QStringView(plain).split(QLatin1Char('\n'))) {
            if (!first)
                breakLine(cursor);
            first = false;
            insertLine(cursor, line);
        }
    }
    cursor.endEditBlock();
}

void LongLines::breakLine(QTextCursor& cursor) {
    cursor.insertBlock(QTextBlockFormat());
}

QString LongLines::textOf(const QTextDocument& document) {
    // All at once: block by block, 90,000 blocks take a tenth of a second, and a key waits for it.
    QString text = document.toRawText();
    std::transform(text.begin(), text.end(), text.begin(), [](QChar letter) {
        return letter == QChar::ParagraphSeparator || letter == QChar::LineSeparator ? QChar(u'\n') : letter;
    });
    return hasPieces(document) ? joined(text, document) : text;
}

QString LongLines::selectedText(const QTextCursor& cursor) {
    const int from = cursor.selectionStart();
    const int to = cursor.selectionEnd();
    QString text;
    for (QTextBlock block = cursor.document()->findBlock(from); block.isValid() && block.position() <= to;
         block = block.next()) {
        if (block.position() > from && !continues(block))
            text += QLatin1Char('\n');
        const int begin = std::max(from - block.position(), 0);
        text += block.text().mid(begin, to - block.position() - begin);
    }
    return text.replace(QChar::LineSeparator, QLatin1Char('\n'));
}

} // namespace teskal
