#pragma once

#include <QWidget>

class QVBoxLayout;

namespace teskal {

class Theme;

/// A raised surface with a hairline around it, and between the rows that it holds.
class CardView : public QWidget {
    Q_OBJECT

public:
    explicit CardView(const Theme& theme, QWidget* parent = nullptr);

    /// Takes \a row, which comes below the others.
    void addRow(QWidget* row);
    /// Destroys the rows.
    void clear();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Theme& theme_;
    QVBoxLayout* column_;
};

} // namespace teskal
