#pragma once

#include <QLineEdit>

namespace teskal {

class Theme;

/// The field at the head of the sidebar in which chats are searched for.
class SearchField : public QLineEdit {
    Q_OBJECT

public:
    explicit SearchField(const Theme& theme, QWidget* parent = nullptr);

Q_SIGNALS:
    /// The user is about to search.
    void focused();
    /// The user wants to go on in the rows.
    void rowsWanted();
    /// Escape with nothing to clear.
    void left();

protected:
    void changeEvent(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void showIcons();
    void keepSpaceForSymbol();

    const Theme& theme_;
    QAction* clear_;
};

} // namespace teskal
