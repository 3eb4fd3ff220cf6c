#pragma once

#include <QVariantAnimation>
#include <QWidget>

#include <array>

namespace teskal {

class Theme;

/// How loud it is: fourteen bars, lit from the left.
class LevelBars : public QWidget {
    Q_OBJECT

public:
    static constexpr int barCount = 14;

    explicit LevelBars(const Theme& theme, QWidget* parent = nullptr);

    /// \a level 0...1; what changes fades within 0.1 s.
    void setLevel(double level);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    using Opacities = std::array<double, barCount>;

    [[nodiscard]] static Opacities opacitiesAt(double level);
    [[nodiscard]] Opacities shown() const;

    const Theme& theme_;
    Opacities from_;
    Opacities to_;
    QVariantAnimation change_;
};

} // namespace teskal
