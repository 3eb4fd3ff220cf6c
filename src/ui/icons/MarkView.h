#pragma once

#include <QWidget>

namespace teskal {

class Theme;

/// Shows the application's mark at a fixed size.
class MarkView : public QWidget {
    Q_OBJECT

public:
    MarkView(const Theme& theme, int side, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Theme& theme_;
};

} // namespace teskal
