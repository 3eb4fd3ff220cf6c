#include "Theme.h"

#include "DesktopAppearance.h"
#include "InkStyle.h"

#include <QApplication>
#include <QFontDatabase>
#include <QFontInfo>
#include <QPalette>

namespace teskal {

namespace {

constexpr double drawnBodySize = 13.5;
constexpr double pointsPerPixel = 72.0 / 96.0;

// A desktop that was never asked for a font answers with an alias or with the fallback of last resort.
bool isFallbackFont(const QFont& font) {
    static const QStringList fallbacks{QStringLiteral("Sans Serif"), QStringLiteral("Sans"),
                                       QStringLiteral("DejaVu Sans"), QStringLiteral("Bitstream Vera Sans"),
                                       QStringLiteral("Helvetica")};
    return fallbacks.contains(font.family(), Qt::CaseInsensitive) ||
           fallbacks.contains(QFontInfo(font).family(), Qt::CaseInsensitive);
}

QFont interfaceFont() {
    QFont font = QApplication::font();
    const QString preferred = QStringLiteral("Inter");
    if (isFallbackFont(font) && QFontDatabase::hasFamily(preferred)) {
        font.setFamilies({preferred});
        font.setPointSizeF(drawnBodySize * pointsPerPixel);
        // Nobody chose how glyphs are fitted either: keep the spacing the face was drawn with.
        font.setHintingPreference(QFont::PreferVerticalHinting);
    }
    return font;
}

struct TextStyle {
    double size; ///< relative to the body's
    QFont::Weight weight;
    double tracking; ///< per cent of the usual advance
};

TextStyle styleOf(TextRole role) {
    switch (role) {
    case TextRole::BodyStrong:
        return {1, QFont::DemiBold, 100};
    case TextRole::Reading:
        return {14.5 / drawnBodySize, QFont::Normal, 100};
    case TextRole::Lead:
        return {15 / drawnBodySize, QFont::Normal, 100};
    case TextRole::Quiet:
        return {12.5 / drawnBodySize, QFont::Normal, 100};
    case TextRole::Note:
        return {11.5 / drawnBodySize, QFont::Normal, 100};
    case TextRole::Group:
        return {11.5 / drawnBodySize, QFont::DemiBold, 100};
    case TextRole::Title:
        return {16 / drawnBodySize, QFont::DemiBold, 100};
    case TextRole::Headline:
        return {22 / drawnBodySize, QFont::DemiBold, 98};
    case TextRole::Display:
        return {30 / drawnBodySize, QFont::Bold, 97};
    case TextRole::Body:
        break;
    }
    return {1, QFont::Normal, 100};
}

} // namespace

Theme::Theme(QObject* parent)
    : QObject(parent), desktop_(new DesktopAppearance(this)),
      paletteIsDark_(QApplication::palette().color(QPalette::Window).lightness() < 128),
      baseFont_(interfaceFont()), ink_(Ink::forLook(paletteIsDark_)) {
    connect(desktop_, &DesktopAppearance::changed, this, &Theme::resolve);
}

Theme::~Theme() = default;

void Theme::install(QApplication& application) {
    desktop_->connectToPortal();
    application_ = &application;
    auto* style = new InkStyle(ink_);
    style_ = style;
    QApplication::setStyle(style);
    QApplication::setFont(baseFont_);
    QApplication::setPalette(ink_.palette());
    resolve();
}

QFont Theme::font(TextRole role) const {
    const TextStyle style = styleOf(role);
    QFont font = baseFont_;
    if (font.pointSizeF() > 0)
        font.setPointSizeF(font.pointSizeF() * style.size);
    else
        font.setPixelSize(qRound(font.pixelSize() * style.size));
    font.setWeight(style.weight);
    if (style.tracking < 100)
        font.setLetterSpacing(QFont::PercentageSpacing, style.tracking);
    return font;
}

int Theme::motion(int ms) const {
    return desktop_->reducedMotion() ? 0 : ms;
}

void Theme::setAppearance(Appearance appearance) {
    appearance_ = appearance;
    resolve();
}

void Theme::resolve() {
    bool isDark = appearance_ == Appearance::Dark;
    if (appearance_ == Appearance::System) {
        using Scheme = DesktopAppearance::Scheme;
        const Scheme scheme = desktop_->scheme();
        isDark = scheme == Scheme::Unknown ? paletteIsDark_ : scheme == Scheme::Dark;
    }
    if (isDark == ink_.dark)
        return;
    ink_ = Ink::forLook(isDark);
    if (style_)
        style_->setInk(ink_);
    if (application_)
        QApplication::setPalette(ink_.palette());
    Q_EMIT changed();
}

} // namespace teskal
