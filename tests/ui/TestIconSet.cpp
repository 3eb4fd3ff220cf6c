#include "Columns.h"
#include "icons/IconSet.h"

#include <QPainter>

using namespace teskal::test;

class TestIconSet : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void symbolsArePainted_data() {
        const auto row = columns<QString>("symbol");
        for (const QString& symbol : IconSet::symbols())
            row(qPrintable(symbol), symbol);
    }

    void symbolsArePainted() {
        QFETCH(const QString, symbol);
        const IconSet icons;
        const QColor colour(10, 120, 230);
        const QPixmap picture = icons.pixmap(symbol, 18, colour, 2);
        QCOMPARE(picture.size(), QSize(36, 36));
        QCOMPARE(picture.deviceIndependentSize(), QSizeF(18, 18));
        const QImage image = picture.toImage();
        int opaque = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QColor pixel = image.pixelColor(x, y);
                if (pixel.alpha() < 250)
                    continue;
                ++opaque;
                QVERIFY2(std::abs(pixel.red() - colour.red()) < 4 &&
                             std::abs(pixel.green() - colour.green()) < 4 &&
                             std::abs(pixel.blue() - colour.blue()) < 4,
                         "no other colour than the one asked for");
            }
        }
        QVERIFY2(opaque > 20, "the outline is there");
    }

    void sidesAreMirrored_data() {
        const auto row = columns<QString, bool>("symbol", "mirrored");
        row("a side", "sidebar.left", true);
        row("no side", "square.and.pencil", false);
    }

    void sidesAreMirrored() {
        FETCH(QString, symbol, bool, mirrored);
        const auto painted = [&](Qt::LayoutDirection direction) {
            QImage image(20, 20, QImage::Format_ARGB32_Premultiplied);
            image.fill(Qt::white);
            QPainter painter(&image);
            painter.setLayoutDirection(direction);
            IconSet().paint(painter, QRectF(0, 0, 20, 20), symbol, 18, Qt::black);
            return image;
        };
        const QImage usual = painted(Qt::LeftToRight);
        QVERIFY(usual != usual.mirrored(true, false));
        QCOMPARE(painted(Qt::RightToLeft), mirrored ? usual.mirrored(true, false) : usual);
    }
};

QTEST_MAIN(TestIconSet)
#include "TestIconSet.moc"
