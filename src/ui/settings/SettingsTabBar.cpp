#include "SettingsTabBar.h"

#include "controls/InkButton.h"
#include "theme/Metrics.h"
#include "theme/Theme.h"

#include <QHBoxLayout>
#include <QPainter>

#include <algorithm>

namespace teskal {

namespace {

constexpr int barMargin = 12;
constexpr int tabGap = 4;
constexpr int tabLeastWidth = 92;
constexpr int tabPadding = 18;
constexpr int tabHeight = 57;
constexpr int symbolCentre = 18;
constexpr int titleTop = 31;

class TabButton final : public InkButton {
public:
    TabButton(const Theme& theme, QString symbol, const QString& title, QWidget* parent)
        : InkButton(theme, parent), symbol_(std::move(symbol)) {
        setText(title);
        setCheckable(true);
        setAutoExclusive(true);
        // Tab comes to the taken one alone.
        setFocusPolicy(Qt::ClickFocus);
        connect(this, &QAbstractButton::toggled, this,
                [this](bool taken) { setFocusPolicy(taken ? Qt::StrongFocus : Qt::ClickFocus); });
        setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    }

    [[nodiscard]] QSize sizeHint() const override {
        const int width = QFontMetrics(titleFont(true)).horizontalAdvance(text()) + 2 * tabPadding;
        return {std::max(width, tabLeastWidth), tabHeight};
    }

protected:
    void paintEvent(QPaintEvent* /*event*/) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        const Ink& ink = theme().ink();
        painter.setPen(Qt::NoPen);
        painter.setBrush(isChecked() ? flattened(ink.tint(ink.dark ? 0.07 : 0.04), ink.page)
                                     : ink.tint(0.03 * hoverAmount()));
        painter.drawRoundedRect(rect(), metrics::radiusCard, metrics::radiusCard);
        const QColor colour = isChecked() ? ink.fg : ink.muted;
        const QRectF symbolPlace(0, 0, width(), 2 * symbolCentre);
        theme().icons().paint(painter, symbolPlace, symbol_, metrics::icon, colour);
        painter.setFont(titleFont(isChecked()));
        painter.setPen(colour);
        painter.drawText(rect().adjusted(0, titleTop, 0, 0), Qt::AlignHCenter | Qt::AlignTop, text());
        paintFocusRing(painter, rect(), metrics::radiusCard);
    }

private:
    [[nodiscard]] QFont titleFont(bool isTaken) const {
        QFont font = theme().font(TextRole::Quiet);
        font.setWeight(isTaken ? QFont::Medium : QFont::Normal);
        return font;
    }

    QString symbol_;
};

} // namespace

SettingsTabBar::SettingsTabBar(const Theme& theme, QWidget* parent) : QWidget(parent), theme_(theme) {
    tabs_ = {new TabButton(theme, QStringLiteral("gearshape"), tr("General"), this),
             new TabButton(theme, QStringLiteral("hand.raised"), tr("Privacy"), this),
             new TabButton(theme, QStringLiteral("square.stack.3d.up"), tr("Models"), this)};
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(barMargin, barMargin, barMargin, barMargin + 1);
    row->setSpacing(tabGap);
    row->addStretch(1);
    for (int index = 0; index < tabs_.size(); ++index) {
        QAbstractButton* const tab = tabs_.at(index);
        row->addWidget(tab);
        connect(tab, &QAbstractButton::toggled, this, [this, index](bool taken) {
            if (taken)
                Q_EMIT currentChanged(static_cast<SettingsTab>(index));
        });
    }
    row->addStretch(1);
    setCurrent(SettingsTab::General);
    connect(&theme, &Theme::changed, this, qOverload<>(&QWidget::update));
}

SettingsTab SettingsTabBar::current() const {
    const auto taken =
        std::find_if(tabs_.begin(), tabs_.end(), [](const QAbstractButton* tab) { return tab->isChecked(); });
    return static_cast<SettingsTab>(taken == tabs_.end() ? 0 : taken - tabs_.begin());
}

void SettingsTabBar::setCurrent(SettingsTab tab) {
    tabs_.at(static_cast<int>(tab))->setChecked(true);
}

void SettingsTabBar::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(0, height() - 1, width(), 1, theme_.ink().line);
}

} // namespace teskal
