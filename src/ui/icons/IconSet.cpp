#include "IconSet.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>

#include <algorithm>
#include <array>
#include <cmath>

// Resources of a static library are registered only when asked for; the macro declares a global function.
static void registerIcons() {
    Q_INIT_RESOURCE(teskal_ui_icons);
}

namespace teskal {

namespace {

constexpr qsizetype cacheLimit = 256;

struct Symbol {
    const char* name;
    const char* file;
    bool filled = false;
    bool mirrors = false; ///< points to a side of the window
};

constexpr std::array symbolTable{
    Symbol{"arrow.up", "arrow-up"},
    Symbol{"checkmark", "check"},
    Symbol{"chevron.down", "chevron-down"},
    Symbol{"chevron.left", "chevron-left"},
    Symbol{"chevron.right", "chevron-right"},
    Symbol{"chevron.up", "chevron-up"},
    Symbol{"chevron.up.chevron.down", "chevrons-up-down"},
    Symbol{"doc", "file"},
    Symbol{"doc.richtext", "file-text"},
    Symbol{"eye.slash", "eye-off"},
    Symbol{"folder.badge.plus", "folder-plus"},
    Symbol{"gearshape", "settings"},
    Symbol{"hand.raised", "hand"},
    Symbol{"magnifyingglass", "search"},
    Symbol{"mic", "mic"},
    Symbol{"photo", "image"},
    Symbol{"plus", "plus"},
    Symbol{"sidebar.left", "panel-left", false, true},
    Symbol{"square.and.pencil", "square-pen"},
    Symbol{"square.stack.3d.up", "layers"},
    Symbol{"stop.fill", "square", true},
    Symbol{"tray.and.arrow.down", "download"},
    Symbol{"xmark", "x"},
};

const Symbol* symbolNamed(const QString& name) {
    const auto* found = std::find_if(symbolTable.begin(), symbolTable.end(), [&](const Symbol& symbol) {
        return name == QLatin1String(symbol.name);
    });
    return found == symbolTable.end() ? nullptr : found;
}

QByteArray recoloured(const Symbol& symbol, const QColor& colour) {
    QFile file(QStringLiteral(":/teskal/icons/%1.svg").arg(QLatin1String(symbol.file)));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QByteArray svg = file.readAll();
    const QByteArray name = colour.name(QColor::HexRgb).toLatin1();
    svg.replace("stroke-width=\"2\"", "stroke-width=\"1.75\"");
    if (symbol.filled)
        svg.replace("fill=\"none\"", "fill=\"" + name + "\"");
    svg.replace("currentColor", name);
    return svg;
}

} // namespace

IconSet::IconSet() {
    registerIcons();
}

QStringList IconSet::symbols() {
    QStringList names;
    for (const Symbol& symbol : symbolTable)
        names.append(QLatin1String(symbol.name));
    return names;
}

QPixmap IconSet::pixmap(const QString& symbol, int size, const QColor& colour,
                        double devicePixelRatio) const {
    const QString key =
        QStringLiteral("%1 %2 %3 %4").arg(symbol).arg(size).arg(colour.rgba(), 0, 16).arg(devicePixelRatio);
    if (const auto known = cache_.constFind(key); known != cache_.cend())
        return *known;
    const Symbol* const entry = symbolNamed(symbol);
    if (!entry)
        return {};
    QSvgRenderer renderer(recoloured(*entry, colour));
    if (!renderer.isValid())
        return {};
    const int pixels = static_cast<int>(std::ceil(size * devicePixelRatio));
    QPixmap picture(pixels, pixels);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setOpacity(colour.alphaF());
    renderer.render(&painter, QRectF(0, 0, pixels, pixels));
    painter.end();
    picture.setDevicePixelRatio(devicePixelRatio);
    if (cache_.size() >= cacheLimit)
        cache_.clear();
    cache_.insert(key, picture);
    return picture;
}

void IconSet::paint(QPainter& painter, const QRectF& rect, const QString& symbol, int size,
                    const QColor& colour) const {
    const double ratio = painter.device()->devicePixelRatioF();
    const QPixmap picture = pixmap(symbol, size, colour, ratio);
    const auto snapped = [ratio](double position) { return std::round(position * ratio) / ratio; };
    const QPointF corner(snapped(rect.center().x() - size / 2.0), snapped(rect.center().y() - size / 2.0));
    const Symbol* const entry = symbolNamed(symbol);
    if (!entry || !entry->mirrors || painter.layoutDirection() != Qt::RightToLeft)
        return painter.drawPixmap(corner, picture);
    painter.save();
    painter.translate(2 * corner.x() + size, 0);
    painter.scale(-1, 1);
    painter.drawPixmap(corner, picture);
    painter.restore();
}

} // namespace teskal
