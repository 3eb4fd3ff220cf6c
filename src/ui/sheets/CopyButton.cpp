#include "CopyButton.h"

#include "theme/Theme.h"

#include <algorithm>

namespace teskal {

namespace {

constexpr int buttonPadding = 12;
constexpr std::chrono::milliseconds copiedTime{2000};

} // namespace

CopyButton::CopyButton(const Theme& theme, QWidget* parent) : QPushButton(parent) {
    QFont font = theme.font(TextRole::Quiet);
    font.setWeight(QFont::Medium);
    setFont(font);
    const QFontMetrics measure(font);
    setFixedWidth(std::max(measure.horizontalAdvance(tr("Copy")), measure.horizontalAdvance(tr("Copied"))) +
                  2 * buttonPadding);
    copied_.setSingleShot(true);
    copied_.setInterval(copiedTime);
    connect(&copied_, &QTimer::timeout, this, &CopyButton::reset);
    connect(this, &QAbstractButton::clicked, this, [this] {
        setText(tr("Copied"));
        copied_.start();
    });
    reset();
}

void CopyButton::reset() {
    copied_.stop();
    setText(tr("Copy"));
}

} // namespace teskal
