#pragma once

#include "SpellMarks.h"

#include <QBasicTimer>
#include <QImage>
#include <QList>
#include <QPlainTextEdit>
#include <QTextLayout>
#include <QUrl>

namespace teskal {

class Theme;

/// The composer's text: Return submits, Shift, Alt or Meta with Return break the line, files and images that
/// are pasted are handed on and the rest is plain text (all of it with Ctrl+Shift+V), and what an input
/// method is still composing is never part of the text. Misspelt words are marked.
class ComposerTextView : public QPlainTextEdit {
    Q_OBJECT

public:
    explicit ComposerTextView(const Theme& theme, QWidget* parent = nullptr);

    /// The text, white space of every kind as it was entered, lines parted by "\n".
    [[nodiscard]] QString text() const;
    /// Edits \a document from now on, with the cursor at its end; what was being composed is dropped. The
    /// document has a plain-text layout and outlives its use here.
    void showDocument(QTextDocument& document);

    /// Marks the misspelt words, and offers better ones for them, with \a checker, which may go before.
    void setSpelling(SpellChecker& checker);

    /// Replaces the text as one step that can be undone.
    void replaceText(const QString& text);

    /// The height of the laid-out text in whole pixels, at least 20. Measuring stops beyond \a enough, so
    /// that a long text costs no more than a short one.
    [[nodiscard]] int usedHeight(int enough) const;

    /// True while an input method shows text that is not committed yet.
    [[nodiscard]] bool isComposing() const { return !composition_.isEmpty(); }
    [[nodiscard]] QString composition() const { return composition_; }
    /// Makes what is being composed part of the text.
    void commitComposition();

Q_SIGNALS:
    /// Return or Enter was pressed. Nothing is inserted; the text may be empty.
    void submitted();
    /// The text was laid out anew, by an edit, a composition or a new width.
    void layoutChanged();
    /// A composition began, changed or ended.
    void compositionChanged();
    /// Files of this machine were pasted; nothing is inserted.
    void filesPasted(const QList<QUrl>& files);
    /// An image was pasted, null when it does not decode; nothing is inserted.
    void imagePasted(const QImage& image);

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void inputMethodEvent(QInputMethodEvent* event) override;
    [[nodiscard]] bool canInsertFromMimeData(const QMimeData* source) const override;
    [[nodiscard]] QMimeData* createMimeDataFromSelection() const override;
    void insertFromMimeData(const QMimeData* source) override;
    /// Text may be dragged here; files and images go to the view around, which takes them everywhere.
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    /// Paints everything itself: the editor's own caret can only be black or white, ours is the accent.
    void paintEvent(QPaintEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    void followDocument();
    void insertText(const QString& text);
    void textEdited(int position, int removed, int added);
    void cursorMoved();
    void openMenu(const QPoint& place, const QTextCursor& misspelt, const QStringList& suggestions);
    void dropComposition();
    void takeColours();
    void restartCaret();
    void updateCaret();
    [[nodiscard]] QVector<QTextLayout::FormatRange> selectionIn(const QTextBlock& block) const;

    const Theme& theme_;
    SpellMarks spelling_;
    QString composition_;
    QBasicTimer caretTimer_;
    bool caretShown_ = true;
};

} // namespace teskal
