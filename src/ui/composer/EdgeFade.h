#pragma once

#include <QWidget>

namespace teskal {

class Theme;

/// Lets what scrolls under the edge of a card fade into the card. Takes no clicks.
class EdgeFade : public QWidget {
    Q_OBJECT

public:
    /// \a atRight says which edge it lies on.
    EdgeFade(const Theme& theme, bool atRight, QWidget* parent = nullptr);

    static constexpr int reach = 28; ///< pixels

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Theme& theme_;
    bool atRight_;
};

} // namespace teskal
