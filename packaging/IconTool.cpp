// teskal-icons FOLDER: writes the application's icon in the sizes and places of an icon theme, from the same
// drawing that the window uses.

#include "icons/TeskalMark.h"
#include "theme/Ink.h"

#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSvgGenerator>

#include <cstdio>

using namespace teskal;

namespace {

const QString name = QStringLiteral("app.teskal.mac");

bool writePicture(const QDir& theme, int side) {
    QImage picture(side, side, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    TeskalMark::paint(painter, QRectF(0, 0, side, side), Ink::light());
    painter.end();
    const QString folder = QStringLiteral("%1x%1/apps").arg(side);
    return theme.mkpath(folder) &&
           picture.save(theme.filePath(folder + QLatin1Char('/') + name + QStringLiteral(".png")));
}

bool writeDrawing(const QDir& theme) {
    constexpr int side = 128;
    const QString folder = QStringLiteral("scalable/apps");
    if (!theme.mkpath(folder))
        return false;
    QSvgGenerator drawing;
    drawing.setFileName(theme.filePath(folder + QLatin1Char('/') + name + QStringLiteral(".svg")));
    drawing.setSize({side, side});
    drawing.setViewBox(QRect(0, 0, side, side));
    drawing.setTitle(QStringLiteral("Teskal"));
    QPainter painter;
    if (!painter.begin(&drawing))
        return false;
    TeskalMark::paint(painter, QRectF(0, 0, side, side), Ink::light());
    return painter.end();
}

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    if (arguments.size() != 2) {
        std::fputs("usage: teskal-icons FOLDER\n", stderr);
        return 2;
    }
    const QDir theme(arguments[1]);
    bool written = writeDrawing(theme);
    for (const int side : {16, 22, 24, 32, 48, 64, 128, 256, 512})
        written = writePicture(theme, side) && written;
    return written ? 0 : 1;
}
