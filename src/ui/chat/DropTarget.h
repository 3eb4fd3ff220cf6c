#pragma once

#include <QWidget>

namespace teskal {

class Theme;

/// What lies over a view while something is dragged that it would take. It takes no events itself.
class DropTarget : public QWidget {
    Q_OBJECT

public:
    /// Starts hidden.
    explicit DropTarget(const Theme& theme, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Theme& theme_;
};

} // namespace teskal
