#pragma once

#include <QPointer>
#include <QWidget>

class QLineEdit;

namespace teskal {

class IconButton;
class InkLabel;
class Theme;

/// The bar over the transcript in which the user looks for a text. It finds nothing by itself: whoever shows
/// it follows its signals and says what was found.
class FindBar : public QWidget {
    Q_OBJECT

public:
    explicit FindBar(const Theme& theme, QWidget* parent = nullptr);

    /// Without anything to look through the bar is dismissed and cannot be opened.
    void setAvailable(bool available);
    /// Shows the bar with the text of the last time, selected, and takes the focus.
    void open();
    /// Hides the bar and ends the search. A focus that was in the bar goes back to where it was before.
    void dismiss();
    /// Goes on to the next or the previous place; opens the bar where it is hidden.
    void findNext() { step(&FindBar::nextRequested); }
    void findPrevious() { step(&FindBar::previousRequested); }

    /// \a active is the number, from 1, of the place that is shown, of \a total; both 0 for none.
    void setCount(int active, int total);

Q_SIGNALS:
    /// Another \a text is to be found; an empty one ends the search.
    void searchChanged(const QString& text);
    void nextRequested();
    void previousRequested();
    /// The bar is hidden, and what had the focus before can not take it again.
    void focusHomeless();

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void step(void (FindBar::*request)());
    void search();
    void showCount(const QString& count);
    [[nodiscard]] bool hasText() const;

    const Theme& theme_;
    QLineEdit* field_;
    InkLabel* count_;
    IconButton* previous_;
    IconButton* next_;
    QPointer<QWidget> focusBefore_;
    bool available_ = true;
};

} // namespace teskal
