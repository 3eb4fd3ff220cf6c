#include "Columns.h"
#include "ExifOrientation.h"
#include "HevcConfiguration.h"
#include "ImageFitting.h"
#include "ImageReading.h"
#include "JpegEncoding.h"
#include "PngEncoding.h"
#include "SampleFiles.h"
#include "Thumbnail.h"

#include "DataUrl.h"

#include <QBuffer>
#include <QColorSpace>

#include <sys/resource.h>

using namespace teskal::test;

namespace {

constexpr qint64 noLimit = 1'000'000'000;
constexpr qint64 anyPixels = 100'000'000;

std::optional<QImage> readBytes(QByteArray file, qint64 mostPixels = anyPixels) {
    QBuffer buffer(&file);
    buffer.open(QIODevice::ReadOnly);
    return readImage(buffer, mostPixels);
}

QString urlOf(const char* type, const QByteArray& file) {
    return dataUrlOf(QLatin1String(type), file);
}

} // namespace

/// Reading, turning and encoding of images.
class TestImages final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void camerasHeldAnyWay_data() {
        const auto row = columns<int, QByteArray>("orientation", "colours");
        // TIFF 6.0, "Orientation": where the first row and the first column are.
        constexpr std::array shown{"RGBW", "GRWB", "WBGR", "BWRG", "RBGW", "BRWG", "WGBR", "GWRB"};
        for (int orientation = 1; orientation <= 8; ++orientation)
            row(shown[std::size_t(orientation - 1)], orientation, shown[std::size_t(orientation - 1)]);
        for (const int unknown : {0, 9, 65535})
            row("unknown", unknown, "RGBW");
    }

    void camerasHeldAnyWay() {
        FETCH(int, orientation, QByteArray, colours);
        const QImage image = quarters(80, 40);
        const QSize size = orientation >= 5 && orientation <= 8 ? QSize(40, 80) : QSize(80, 40);
        const auto jpeg = readBytes(withExif(encoded(image, "jpeg", 95), exif(orientation)));
        const auto heif = readBytes(heic(image, exif(orientation, true)));
        for (const auto& shown : {jpeg, heif}) {
            QVERIFY(shown);
            QCOMPARE(shown->size(), size);
            QCOMPARE(quartersOf(*shown), colours);
        }
        // What the container itself turns is turned once, whatever the camera says.
        const auto turned = readBytes(heic(image, exif(orientation), true));
        QVERIFY(turned);
        QCOMPARE(turned->size(), QSize(40, 80));
        QCOMPARE(quartersOf(*turned), QByteArray("BRWG"));
    }

    void damagedFiles_data() {
        const auto row = columns<QByteArray>("file");
        const QImage image = quarters(64, 64);
        row("heic", heic(image, exif(6)));
        row("tiff", encoded(image, "tiff"));
        row("jpeg", withExif(encoded(image, "jpeg"), exif(6)));
        row("webp", encoded(image, "webp"));
        row("gif", animatedGif());
        row("exif", exif(6));
    }

    void damagedFiles() {
        QFETCH(const QByteArray, file);
        constexpr int steps = 40;
        for (int step = 0; step <= steps; ++step) {
            const qsizetype at = (file.size() - 1) * step / steps;
            QByteArray changed = file;
            changed[at] = char(changed[at] ^ 0xff);
            for (const QByteArray& damaged : {file.first(at), changed}) {
                const int orientation = exifOrientation(damaged);
                QVERIFY(orientation >= 1 && orientation <= 8);
                if (const auto image = readBytes(damaged, 64 * 64)) // or none: either is an outcome
                    QVERIFY(image->width() * image->height() <= 64 * 64);
            }
        }
    }

    void dimensionsAreJudgedFirst() {
        for (const char* format : {"png", "jpeg", "webp", "gif", "tiff", "heic"}) {
            const QByteArray file = bomb(format);
            QVERIFY2(file.size() < 20'000, format);
            QVERIFY2(!readBytes(file), format);
        }
        const QByteArray png = encoded(quarters(100, 100), "png");
        QVERIFY(readBytes(png, 10'000) && !readBytes(png, 9'999));
        const QByteArray heif = heic(quarters(128, 64));
        QCOMPARE(hevcPictureSize(heif.mid(heif.indexOf("hvcC") + 4)), QSize(128, 64));
        // The coded picture is larger than what the file says of it.
        QByteArray liar = heic(quarters(1024, 512));
        QCOMPARE(hevcPictureSize(liar.mid(liar.indexOf("hvcC") + 4)), QSize(1024, 512));
        liar.replace(liar.indexOf("ispe") + 8, 8, QByteArray("\0\0\0\x40\0\0\0\x40", 8));
        QVERIFY(!readBytes(liar, 100'000) && readBytes(heif, 128 * 64) && !readBytes(heif, 128 * 64 - 1));
    }

    void otherCodingsAreNotRead() {
        QByteArray file = avif(quarters(64, 64));
        QVERIFY(file.contains("av1C") && file.mid(8, 4) == "avif" && !readBytes(file));
        for (const char* brand : {"mif1", "heic"})
            QVERIFY(!readBytes(file.replace(8, 4, brand)));
        const QByteArray twoHeads = heic(quarters(64, 64));
        QVERIFY(!readBytes(twoHeads + QByteArray("\0\0\0\x0cmeta\0\0\0\0", 12))); // which one holds?
    }

    void gridsAreJudgedFirst() {
        const auto kept = readBytes(heicGrid(63));
        QVERIFY(kept);
        QCOMPARE(kept->size(), QSize(63, 63));
        const auto mostMemory = [] {
            rusage usage{};
            getrusage(RUSAGE_SELF, &usage);
            return usage.ru_maxrss; // KiB
        };
        const long before = mostMemory();
        QVERIFY(!readBytes(heicGrid(12'000), 10'000));
        QVERIFY(mostMemory() - before < 50'000); // the image would take 430 MB
    }

    void drawingsAreNotRead() {
        QVERIFY(!readBytes("<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'><rect width='9' "
                           "height='9'/></svg>"));
        QVERIFY(!readBytes("%PDF-1.4\n") && !readBytes(""));
    }

    void pngKeepsWhatItShows_data() {
        const auto row = columns<QImage::Format>("format");
        for (const QImage::Format format :
             {QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_ARGB32_Premultiplied,
              QImage::Format_RGB888, QImage::Format_RGBA64, QImage::Format_Grayscale8,
              QImage::Format_Grayscale16, QImage::Format_Indexed8, QImage::Format_Mono})
            row(qPrintable(QString::number(format)), format);
    }

    void pngKeepsWhatItShows() {
        QFETCH(const QImage::Format, format);
        // More than one strip, and an odd end.
        QImage image = noise(65, 150, QImage::Format_ARGB32).convertToFormat(format);
        if (image.format() != QImage::Format_Grayscale8 && image.format() != QImage::Format_Grayscale16)
            image.setColorSpace(QColorSpace::DisplayP3);
        const auto file = encodePng(image, noLimit);
        QVERIFY(file);
        const QImage back = QImage::fromData(*file, "png");
        QCOMPARE(back.hasAlphaChannel(), image.hasAlphaChannel());
        const QImage::Format common =
            image.hasAlphaChannel() ? QImage::Format_RGBA8888 : QImage::Format_RGB888;
        QCOMPARE(back.convertToFormat(common), image.convertToFormat(common));
        QCOMPARE(back.colorSpace(), image.colorSpace());
    }

    void pngStopsAtItsLimit() {
        const QImage image = noise(300, 300);
        const auto file = encodePng(image, noLimit);
        QVERIFY(file);
        QVERIFY(encodePng(image, file->size()) && !encodePng(image, file->size() - 1));
        QVERIFY(!encodePng(image, 0) && !encodePng(QImage(), noLimit));
        std::stop_source source;
        source.request_stop();
        QVERIFY(!encodePng(image, noLimit, source.get_token()));
    }

    void fittingTriesPngThenWorseJpegs_data() {
        rows<int>("quality",
                  {{"PNG", 100}, {"fine", 85}, {"fair", 70}, {"worst", 50}, {"beyond the worst", 0}});
    }

    void fittingTriesPngThenWorseJpegs() {
        QFETCH(const int, quality);
        const QImage image = noise(200, 200);
        const auto sizeAt = [&](int of) {
            return of == 100 ? encodePng(image, noLimit)->size() : encodeJpeg(image, of, noLimit)->size();
        };
        if (quality == 0) {
            QVERIFY(!fitImage(image, sizeAt(50) - 1));
            return;
        }
        const auto file = fitImage(image, sizeAt(quality));
        QVERIFY(file);
        QCOMPARE(file->bytes.size(), sizeAt(quality));
        QCOMPARE(file->extension, quality == 100 ? u"png"_qs : u"jpg"_qs);
        QCOMPARE(file->mediaType, quality == 100 ? u"image/png"_qs : u"image/jpeg"_qs);
    }

    void smallerAndFlat_data() {
        const auto row = columns<QSize, QSize>("size", "result");
        row("wide", QSize(400, 300), QSize(100, 75));
        row("high", QSize(30, 1000), QSize(3, 100));
        row("thin", QSize(1, 1000), QSize(1, 100));
        row("just fits", QSize(100, 100), QSize(100, 100));
        row("rounded up", QSize(300, 200), QSize(100, 67));
    }

    void smallerAndFlat() {
        FETCH(QSize, size, QSize, result);
        QImage clear(size, QImage::Format_ARGB32);
        clear.fill(QColor(255, 0, 0, 128));
        clear.setColorSpace(QColorSpace::AdobeRgb);
        const QImage scaled = scaledDown(clear, 100);
        QCOMPARE(scaled.size(), result);
        QVERIFY(scaled.hasAlphaChannel());
        const QImage flat = flatten(scaled);
        QVERIFY(!flat.hasAlphaChannel());
        QCOMPARE(flat.colorSpace(), QColorSpace(QColorSpace::AdobeRgb));
        const QColor pink = flat.pixelColor(result.width() / 2, result.height() / 2);
        QVERIFY(pink.red() >= 254 && qAbs(pink.green() - 127) <= 1 && qAbs(pink.blue() - 127) <= 1);
    }

    void thumbnails_data() {
        // size: empty for none
        const auto row = columns<QString, QSize>("url", "size");
        const QByteArray jpeg = encoded(quarters(800, 400), "jpeg", 95);
        row("covers", urlOf("image/jpeg", jpeg), QSize(200, 100));
        row("turned", urlOf("image/jpeg", withExif(jpeg, exif(6))), QSize(100, 200));
        row("small already", urlOf("image/png", encoded(quarters(90, 40), "png")), QSize(90, 40));
        row("webp", urlOf("image/webp", encoded(quarters(400, 400), "webp")), QSize(100, 100));
        row("animated", urlOf("image/webp", animatedWebp(quarters(400, 400))), QSize(100, 100));
        row("gif", urlOf("image/gif", animatedGif()), QSize(1, 1));
        row("bomb", urlOf("image/png", bomb("png")), QSize());
        QImage blank(7000, 5000, QImage::Format_Mono);
        blank.fill(1);
        row("35 million pixels", urlOf("image/png", encoded(blank, "png")), QSize());
        row("no image", urlOf("image/png", "hello"), QSize());
        row("not said to be one", urlOf("application/pdf", jpeg), QSize());
        row("not inline", "https://example.org/a.png", QSize());
        row("no base64", "data:image/png;base64,?", QSize());
    }

    void thumbnails() {
        FETCH(QString, url, QSize, size);
        const QImage image = thumbnail(url, QSize(100, 100));
        QCOMPARE(image.isNull(), size.isEmpty());
        if (!size.isEmpty())
            QCOMPARE(image.size(), size);
    }
};

QTEST_GUILESS_MAIN(TestImages)
#include "TestImages.moc"
