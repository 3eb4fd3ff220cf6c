#include "SegmentedPicker.h"

#include "InkButton.h"
#include "theme/Metrics.h"
#include "theme/Theme.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>

namespace teskal {

namespace {

constexpr int inset = 2;
constexpr int segmentHeight = 26;
constexpr int segmentPadding = 12;
constexpr double segmentRadius = metrics::radiusSmall - 2;

class Segment final : public InkButton {
public:
    Segment(const Theme& theme, const QString& text, QWidget* parent) : InkButton(theme, parent) {
        setText(text);
        setCheckable(true);
        setAutoExclusive(true);
        // Tab comes to the taken one alone.
        setFocusPolicy(Qt::ClickFocus);
        connect(this, &QAbstractButton::toggled, this,
                [this](bool taken) { setFocusPolicy(taken ? Qt::StrongFocus : Qt::ClickFocus); });
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    }

    [[nodiscard]] QSize sizeHint() const override {
        return {QFontMetrics(strongFont()).horizontalAdvance(text()) + 2 * segmentPadding, segmentHeight};
    }

protected:
    void keyPressEvent(QKeyEvent* event) override {
        // Return belongs to the default button around the choices.
        if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
            event->ignore();
        else
            InkButton::keyPressEvent(event);
    }

    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const Ink& ink = theme().ink();
        if (isChecked()) {
            painter.setPen(QPen(ink.line, 1));
            painter.setBrush(ink.card);
            painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), segmentRadius,
                                    segmentRadius);
        } else if (hoverAmount() > 0) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(ink.tint(0.05 * hoverAmount()));
            painter.drawRoundedRect(rect(), segmentRadius, segmentRadius);
        }
        painter.setFont(isChecked() ? strongFont() : font());
        painter.setPen(isChecked() ? ink.fg : ink.muted);
        painter.drawText(rect(), Qt::AlignCenter, text());
        paintFocusRing(painter, rect(), segmentRadius);
    }

private:
    [[nodiscard]] QFont strongFont() const {
        QFont strong = font();
        strong.setWeight(QFont::DemiBold);
        return strong;
    }
};

} // namespace

SegmentedPicker::SegmentedPicker(const Theme& theme, const QStringList& choices, QWidget* parent)
    : QWidget(parent), theme_(theme) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(inset, inset, inset, inset);
    row->setSpacing(0);
    for (const QString& choice : choices) {
        segments_.append(new Segment(theme, choice, this));
        row->addWidget(segments_.last());
    }
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setCurrent(0);
    for (int index = 0; index < segments_.size(); ++index)
        connect(segments_.at(index), &QAbstractButton::toggled, this, [this, index](bool taken) {
            if (taken)
                Q_EMIT currentChanged(index);
        });
    connect(&theme, &Theme::changed, this, qOverload<>(&QWidget::update));
}

int SegmentedPicker::current() const {
    for (int index = 0; index < segments_.size(); ++index) {
        if (segments_.at(index)->isChecked())
            return index;
    }
    return 0;
}

void SegmentedPicker::setCurrent(int index) {
    segments_.at(index)->setChecked(true);
}

void SegmentedPicker::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(theme_.ink().fill);
    painter.drawRoundedRect(rect(), metrics::radiusSmall, metrics::radiusSmall);
}

} // namespace teskal
