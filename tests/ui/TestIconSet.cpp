#include "icons/IconSet.h"
#include "icons/TeskalMark.h"
#include "theme/Ink.h"

#include <QPainter>
#include <QTest>

#include <algorithm>

using namespace teskal;

namespace {

struct Coverage {
    int opaque = 0;
    bool onlyThisColour = true;
};

Coverage coverage(const QImage& image, const QColor& colour) {
    Coverage result;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (pixel.alpha() < 250)
                continue;
            ++result.opaque;
            result.onlyThisColour = result.onlyThisColour && std::abs(pixel.red() - colour.red()) < 4 &&
                                    std::abs(pixel.green() - colour.green()) < 4 &&
                                    std::abs(pixel.blue() - colour.blue()) < 4;
        }
    }
    return result;
}

} // namespace

class TestIconSet : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void symbolsArePainted_data();
    void symbolsArePainted();
    void sidesAreMirrored_data();
    void sidesAreMirrored();
    void translucentColourKeepsItsAlpha();
    void markIsLegibleAtSixteen();
};

void TestIconSet::symbolsArePainted_data() {
    QTest::addColumn<QString>("symbol");
    for (const QString& symbol : IconSet::symbols())
        QTest::newRow(qPrintable(symbol)) << symbol;
}

void TestIconSet::symbolsArePainted() {
    QFETCH(const QString, symbol);
    const IconSet icons;
    const QColor colour(10, 120, 230);
    const QPixmap picture = icons.pixmap(symbol, 18, colour, 2);
    QCOMPARE(picture.size(), QSize(36, 36));
    QCOMPARE(picture.deviceIndependentSize(), QSizeF(18, 18));
    const Coverage painted = coverage(picture.toImage(), colour);
    QVERIFY2(painted.opaque > 20, "the outline is there");
    QVERIFY2(painted.onlyThisColour, "and in no other colour than the one asked for");
}

void TestIconSet::sidesAreMirrored_data() {
    QTest::addColumn<QString>("symbol");
    QTest::addColumn<bool>("mirrored");
    QTest::newRow("a side") << QStringLiteral("sidebar.left") << true;
    QTest::newRow("no side") << QStringLiteral("square.and.pencil") << false;
}

void TestIconSet::sidesAreMirrored() {
    QFETCH(const QString, symbol);
    QFETCH(const bool, mirrored);
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

void TestIconSet::translucentColourKeepsItsAlpha() {
    QColor faint(0, 0, 0);
    faint.setAlphaF(0.4F);
    const QImage image = IconSet().pixmap(QStringLiteral("stop.fill"), 18, faint, 2).toImage();
    QVERIFY(std::abs(image.pixelColor(18, 18).alphaF() - 0.4F) < 0.02F);
}

void TestIconSet::markIsLegibleAtSixteen() {
    const Ink ink = Ink::light();
    QImage image(16, 16, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    TeskalMark::paint(painter, QRectF(0, 0, 16, 16), ink);
    painter.end();
    int accent = 0;
    int strands = 0;
    for (int y = 0; y < 16; ++y) {
        for (int x = 0; x < 16; ++x) {
            const QColor pixel = image.pixelColor(x, y);
            accent += pixel.green() > 140 && pixel.red() < 90 ? 1 : 0;
            // Three strands on the left: light runs in the column where they are furthest apart.
            strands += x == 4 && pixel.lightness() > 130 ? 1 : 0;
        }
    }
    QVERIFY2(accent >= 9, "the dot is a spot of colour, not a fleck");
    QVERIFY2(strands >= 3 && strands <= 6, qPrintable(QString::number(strands)));
    QCOMPARE(image.pixelColor(0, 0).alpha(), 0);
}

QTEST_MAIN(TestIconSet)
#include "TestIconSet.moc"
