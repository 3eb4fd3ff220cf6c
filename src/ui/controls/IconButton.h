#pragma once

#include "InkButton.h"
#include "theme/Metrics.h"

namespace teskal {

/// A square button that shows one symbol, with its help text as tooltip and accessible name.
class IconButton : public InkButton {
    Q_OBJECT

public:
    enum class Look {
        Quiet, ///< no ground until hovered
        Toned, ///< on a faint ground: something is going on
        Solid, ///< a filled disc: the main action
    };

    /// \a help may end in a key hint such as "(⌘U)"; it is shown in the platform's key names, and the
    /// accessible name is the text before it.
    IconButton(const Theme& theme, QString systemImage, const QString& help, QWidget* parent = nullptr);

    void setLook(Look look);
    /// Logical pixels; the button itself keeps its size.
    void setSymbolSize(int size);

    [[nodiscard]] QSize sizeHint() const override { return {metrics::control, metrics::control}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] QColor groundColour() const;
    [[nodiscard]] QColor symbolColour() const;

    QString systemImage_;
    Look look_ = Look::Quiet;
    int symbolSize_ = metrics::icon;
};

} // namespace teskal
