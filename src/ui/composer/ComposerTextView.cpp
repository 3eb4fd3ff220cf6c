#include "ComposerTextView.h"

#include "IncomingContent.h"
#include "LongLines.h"
#include "SpellChecker.h"
#include "theme/Theme.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QInputMethod>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QPointer>
#include <QTextBlock>

#include <algorithm>
#include <cmath>

namespace teskal {

namespace {

constexpr int leastHeight = 20;
constexpr double caretWidth = 1.5;  ///< pixels
constexpr int placeholderInset = 2; ///< keeps the caret off the first letter

bool isReturn(const QKeyEvent& event) {
    return event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter;
}

// Qt's Control is ⌘ on a Mac, where it submits as well, and Meta is the Mac's Control.
bool breaksLine(Qt::KeyboardModifiers modifiers) {
    return (modifiers & (Qt::ShiftModifier | Qt::AltModifier | Qt::MetaModifier)) != Qt::NoModifier;
}

} // namespace

ComposerTextView::ComposerTextView(const Theme& theme, QWidget* parent)
    : QPlainTextEdit(parent), theme_(theme) {
    setFrameShape(QFrame::NoFrame);
    setFont(theme.font(TextRole::Reading));
    document()->setDocumentMargin(0);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    setTabChangesFocus(true);
    // Setting up is nothing to undo.
    document()->clearUndoRedoStacks();
    takeColours();
    connect(&theme, &Theme::changed, this, &ComposerTextView::takeColours);
    followDocument();
    connect(this, &QPlainTextEdit::cursorPositionChanged, this, &ComposerTextView::cursorMoved);
}

void ComposerTextView::followDocument() {
    connect(document(), &QTextDocument::contentsChange, this, &ComposerTextView::textEdited);
    connect(document(), &QTextDocument::contentsChanged, this, &ComposerTextView::layoutChanged);
}

QString ComposerTextView::text() const {
    return LongLines::textOf(*document());
}

void ComposerTextView::showDocument(QTextDocument& document) {
    if (&document == this->document())
        return;
    dropComposition();
    this->document()->disconnect(this);
    setDocument(&document);
    spelling_.setWriting(-1);
    followDocument();
    moveCursor(QTextCursor::End);
    Q_EMIT layoutChanged();
}

void ComposerTextView::setSpelling(SpellChecker& checker) {
    spelling_.setChecker(checker);
    connect(&checker, &SpellChecker::judged, viewport(), qOverload<>(&QWidget::update));
}

void ComposerTextView::textEdited(int position, int /*removed*/, int added) {
    spelling_.setWriting(position + added);
}

void ComposerTextView::cursorMoved() {
    restartCaret();
    if (spelling_.writing() >= 0 && textCursor().position() != spelling_.writing()) {
        spelling_.setWriting(-1);
        viewport()->update();
    }
}

void ComposerTextView::contextMenuEvent(QContextMenuEvent* event) {
    const bool byKeyboard = event->reason() == QContextMenuEvent::Keyboard;
    const QPoint place = byKeyboard ? cursorRect().bottomLeft() : event->pos();
    const int position = byKeyboard ? textCursor().position() : cursorForPosition(place).position();
    const QTextCursor misspelt = spelling_.markedAt(*document(), position);
    if (misspelt.isNull())
        return openMenu(place, misspelt, {});
    spelling_.checker()->suggest(
        misspelt.selectedText(),
        [self = QPointer(this), place, misspelt, word = misspelt.selectedText()](const QStringList& words) {
            if (self && misspelt.selectedText() == word)
                self->openMenu(place, misspelt, words);
        });
}

void ComposerTextView::openMenu(const QPoint& place, const QTextCursor& misspelt,
                                const QStringList& suggestions) {
    QMenu* menu = createStandardContextMenu(place);
    menu->setObjectName(QStringLiteral("composerMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (!misspelt.isNull()) {
        QAction* const first = menu->actions().value(0);
        const auto offer = [&](const QString& text, auto action) {
            auto* offered = new QAction(text, menu);
            connect(offered, &QAction::triggered, this, action);
            menu->insertAction(first, offered);
        };
        for (const QString& word : suggestions)
            offer(word, [misspelt, word] { QTextCursor(misspelt).insertText(word); });
        if (!suggestions.isEmpty())
            menu->insertSeparator(first);
        offer(tr("Add to Dictionary"), [this, word = misspelt.selectedText()] {
            if (SpellChecker* const checker = spelling_.checker())
                checker->add(word);
        });
        menu->insertSeparator(first);
    }
    menu->popup(viewport()->mapToGlobal(place));
}

void ComposerTextView::replaceText(const QString& text) {
    if (text == this->text())
        return;
    QTextCursor cursor(document());
    cursor.select(QTextCursor::Document);
    LongLines::insert(cursor, text);
    setTextCursor(cursor);
}

int ComposerTextView::usedHeight(int enough) const {
    double height = 0;
    for (QTextBlock block = document()->firstBlock(); block.isValid() && height <= enough;
         block = block.next())
        height += blockBoundingRect(block).height();
    return std::max(leastHeight, static_cast<int>(std::ceil(height)));
}

void ComposerTextView::commitComposition() {
    if (!isComposing())
        return;
    const QString text = composition_;
    QGuiApplication::inputMethod()->commit();
    if (!isComposing())
        return;
    // The input method did not answer: take the text ourselves and make it forget.
    QInputMethodEvent commit;
    commit.setCommitString(text);
    QCoreApplication::sendEvent(this, &commit);
    QGuiApplication::inputMethod()->reset();
}

void ComposerTextView::dropComposition() {
    if (!isComposing())
        return;
    QInputMethodEvent nothing;
    QCoreApplication::sendEvent(this, &nothing);
    QGuiApplication::inputMethod()->reset();
}

bool ComposerTextView::event(QEvent* event) {
    // Under X11 the editor would keep Ctrl+U and Ctrl+K, which attach files and search, to delete a line.
    if (event->type() == QEvent::ShortcutOverride) {
        const auto& key = *static_cast<QKeyEvent*>(event);
        if (key.matches(QKeySequence::DeleteCompleteLine) || key.matches(QKeySequence::DeleteEndOfLine)) {
            event->ignore();
            return true;
        }
    }
    return QPlainTextEdit::event(event);
}

void ComposerTextView::keyPressEvent(QKeyEvent* event) {
    // Cells of a table, for one, come as an image too; this way only their words are pasted.
    if (event->key() == Qt::Key_V && event->modifiers() == (Qt::ControlModifier | Qt::ShiftModifier)) {
        if (const QMimeData* copied = QGuiApplication::clipboard()->mimeData())
            insertText(IncomingContent::textOf(*copied));
        return event->accept();
    }
    if (!isReturn(*event)) {
        QPlainTextEdit::keyPressEvent(event);
        return;
    }
    event->accept();
    if (isComposing())
        commitComposition();
    else if (!breaksLine(event->modifiers()))
        Q_EMIT submitted();
    else {
        QTextCursor cursor = textCursor();
        LongLines::breakLine(cursor);
        setTextCursor(cursor);
        ensureCursorVisible();
    }
}

void ComposerTextView::inputMethodEvent(QInputMethodEvent* event) {
    const QString composition = event->preeditString();
    const bool differs = composition != composition_;
    composition_ = composition;
    QPlainTextEdit::inputMethodEvent(event);
    restartCaret();
    if (differs) {
        Q_EMIT layoutChanged();
        Q_EMIT compositionChanged();
    }
}

bool ComposerTextView::canInsertFromMimeData(const QMimeData* source) const {
    return IncomingContent::kindOf(*source) != IncomingContent::Kind::Nothing;
}

QMimeData* ComposerTextView::createMimeDataFromSelection() const {
    auto* copy = new QMimeData;
    copy->setText(LongLines::selectedText(textCursor()));
    return copy;
}

void ComposerTextView::insertFromMimeData(const QMimeData* source) {
    const IncomingContent content = IncomingContent::read(*source);
    switch (content.kind) {
    case IncomingContent::Kind::Files:
        Q_EMIT filesPasted(content.files);
        break;
    case IncomingContent::Kind::Image:
        Q_EMIT imagePasted(content.image);
        break;
    case IncomingContent::Kind::Text:
        insertText(content.text);
        break;
    case IncomingContent::Kind::Nothing:
        break;
    }
}

void ComposerTextView::insertText(const QString& text) {
    QTextCursor cursor = textCursor();
    LongLines::insert(cursor, text);
    setTextCursor(cursor);
    ensureCursorVisible();
}

void ComposerTextView::dragEnterEvent(QDragEnterEvent* event) {
    if (IncomingContent::kindOf(*event->mimeData()) == IncomingContent::Kind::Text)
        QPlainTextEdit::dragEnterEvent(event);
    else
        event->ignore();
}

void ComposerTextView::dragMoveEvent(QDragMoveEvent* event) {
    if (IncomingContent::kindOf(*event->mimeData()) == IncomingContent::Kind::Text)
        QPlainTextEdit::dragMoveEvent(event);
    else
        event->ignore();
}

void ComposerTextView::dropEvent(QDropEvent* event) {
    if (IncomingContent::kindOf(*event->mimeData()) == IncomingContent::Kind::Text)
        QPlainTextEdit::dropEvent(event);
    else
        event->ignore();
}

void ComposerTextView::resizeEvent(QResizeEvent* event) {
    QPlainTextEdit::resizeEvent(event);
    if (event->size().width() != event->oldSize().width())
        Q_EMIT layoutChanged();
}

void ComposerTextView::takeColours() {
    const Ink& ink = theme_.ink();
    QPalette colours = palette();
    colours.setColor(QPalette::Base, ink.card);
    colours.setColor(QPalette::Text, ink.fg);
    colours.setColor(QPalette::PlaceholderText, ink.muted);
    setPalette(colours);
}

void ComposerTextView::restartCaret() {
    caretShown_ = true;
    const int flash = QApplication::cursorFlashTime();
    if (hasFocus() && flash > 0)
        caretTimer_.start(flash / 2, this);
    else
        caretTimer_.stop();
    updateCaret();
}

void ComposerTextView::updateCaret() {
    viewport()->update(cursorRect().adjusted(-2, 0, 4, 0));
}

void ComposerTextView::timerEvent(QTimerEvent* event) {
    if (event->timerId() != caretTimer_.timerId()) {
        QPlainTextEdit::timerEvent(event);
        return;
    }
    caretShown_ = !caretShown_;
    updateCaret();
}

void ComposerTextView::focusInEvent(QFocusEvent* event) {
    QPlainTextEdit::focusInEvent(event);
    restartCaret();
}

void ComposerTextView::focusOutEvent(QFocusEvent* event) {
    QPlainTextEdit::focusOutEvent(event);
    restartCaret();
}

QVector<QTextLayout::FormatRange> ComposerTextView::selectionIn(const QTextBlock& block) const {
    const QTextCursor cursor = textCursor();
    const int from = std::max(cursor.selectionStart() - block.position(), 0);
    const int to = std::min(cursor.selectionEnd() - block.position(), block.length());
    if (to <= from)
        return {};
    QTextLayout::FormatRange range;
    range.start = from;
    range.length = to - from;
    range.format.setBackground(palette().brush(QPalette::Highlight));
    range.format.setForeground(palette().brush(QPalette::HighlightedText));
    return {range};
}

void ComposerTextView::paintEvent(QPaintEvent* event) {
    QPainter painter(viewport());
    if (document()->isEmpty() && !isComposing()) {
        painter.setPen(theme_.ink().muted);
        painter.drawText(viewport()->rect().adjusted(placeholderInset, 0, 0, 0),
                         Qt::AlignTop | Qt::TextSingleLine, placeholderText());
    }
    const QRectF exposed = event->rect();
    QPointF offset = contentOffset();
    painter.setPen(theme_.ink().fg);
    spelling_.beginPainting();
    for (QTextBlock block = firstVisibleBlock(); block.isValid(); block = block.next()) {
        const QRectF place = blockBoundingRect(block).translated(offset);
        if (place.top() > exposed.bottom())
            break;
        if (place.bottom() >= exposed.top()) {
            block.layout()->draw(&painter, offset, selectionIn(block), exposed);
            spelling_.paint(painter, block, offset, theme_.ink().danger);
        }
        offset.ry() += place.height();
    }
    if (!caretShown_ || !hasFocus())
        return;
    const QRectF caret = cursorRect();
    const double left = std::clamp(caret.left(), 0.0, viewport()->width() - caretWidth);
    painter.fillRect(QRectF(left, caret.top(), caretWidth, caret.height()), theme_.ink().accent);
}

} // namespace teskal
