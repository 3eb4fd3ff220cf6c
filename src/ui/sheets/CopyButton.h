#pragma once

#include <QPushButton>
#include <QTimer>

namespace teskal {

class Theme;

/// Says "Copy", and for a while after it was pressed "Copied". Whoever owns it copies.
class CopyButton : public QPushButton {
    Q_OBJECT

public:
    explicit CopyButton(const Theme& theme, QWidget* parent = nullptr);

    void reset();

private:
    QTimer copied_;
};

} // namespace teskal
