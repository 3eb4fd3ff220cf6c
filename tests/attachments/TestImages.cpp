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
#include <QTest>

#include <sys/resource.h>

using namespace teskal;
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
    void camerasHeldAnyWay_data();
    void camerasHeldAnyWay();
    void heicIsTurnedOnce_data();
    void heicIsTurnedOnce();
    void damagedFiles_data();
    void damagedFiles();
    void dimensionsAreJudgedFirst();
    void otherCodingsAreNotRead();
    void gridsAreJudgedFirst();
    void drawingsAreNotRead();
    void pngKeepsWhatItShows_data();
    void pngKeepsWhatItShows();
    void pngStopsAtItsLimit();
    void fittingTriesPngThenWorseJpegs_data();
    void fittingTriesPngThenWorseJpegs();
    void smallerAndFlat_data();
    void smallerAndFlat();
    void thumbnails_data();
    void thumbnails();
};

void TestImages::camerasHeldAnyWay_data() {
    QTest::addColumn<int>("orientation");
    QTest::addColumn<QByteArray>("colours");
    // TIFF 6.0, "Orientation": where the first row and the first column are.
    constexpr std::array shown{"RGBW", "GRWB", "WBGR", "BWRG", "RBGW", "BRWG", "WGBR", "GWRB"};
    for (int orientation = 1; orientation <= 8; ++orientation)
        QTest::addRow("%d", orientation) << orientation << QByteArray(shown[std::size_t(orientation - 1)]);
    for (const int unknown : {0, 9, 65535})
        QTest::addRow("%d", unknown) << unknown << QByteArray("RGBW");
}

void TestImages::camerasHeldAnyWay() {
    QFETCH(const int, orientation);
    QFETCH(const QByteArray, colours);
    const QImage image = quarters(80, 40);
    const QSize size = orientation >= 5 && orientation <= 8 ? QSize(40, 80) : QSize(80, 40);
    const auto jpeg = readBytes(withExif(encoded(image, "jpeg", 95), exif(orientation)));
    const auto heif = readBytes(heic(image, exif(orientation, true)));
    for (const auto& shown : {jpeg, heif}) {
        QVERIFY(shown);
        QCOMPARE(shown->size(), size);
        QCOMPARE(quartersOf(*shown), colours);
    }
}

void TestImages::heicIsTurnedOnce_data() {
    QTest::addColumn<int>("orientation");
    QTest::addRow("as the camera says, too") << 6;
    QTest::addRow("against the camera's word") << 3;
    QTest::addRow("upright for the camera") << 1;
}

void TestImages::heicIsTurnedOnce() {
    QFETCH(const int, orientation);
    const auto shown = readBytes(heic(quarters(80, 40), exif(orientation), true));
    QVERIFY(shown);
    QCOMPARE(shown->size(), QSize(40, 80));
    QCOMPARE(quartersOf(*shown), QByteArray("BRWG"));
}

void TestImages::damagedFiles_data() {
    QTest::addColumn<QByteArray>("file");
    const QImage image = quarters(64, 64);
    QTest::addRow("heic") << heic(image, exif(6));
    QTest::addRow("tiff") << encoded(image, "tiff");
    QTest::addRow("jpeg") << withExif(encoded(image, "jpeg"), exif(6));
    QTest::addRow("webp") << encoded(image, "webp");
    QTest::addRow("gif") << animatedGif();
    QTest::addRow("exif") << exif(6);
}

void TestImages::damagedFiles() {
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

void TestImages::dimensionsAreJudgedFirst() {
    for (const char* format : {"png", "jpeg", "webp", "gif", "tiff", "heic"}) {
        const QByteArray file = bomb(format);
        QVERIFY2(file.size() < 20'000, format);
        QVERIFY2(!readBytes(file), format);
    }
    const QByteArray png = encoded(quarters(100, 100), "png");
    QVERIFY(readBytes(png, 10'000));
    QVERIFY(!readBytes(png, 9'999));
    const QByteArray heif = heic(quarters(128, 64));
    QCOMPARE(hevcPictureSize(heif.mid(heif.indexOf("hvcC") + 4)), QSize(128, 64));
    // The coded picture is larger than what the file says of it.
    QByteArray liar = heic(quarters(1024, 512));
    QCOMPARE(hevcPictureSize(liar.mid(liar.indexOf("hvcC") + 4)), QSize(1024, 512));
    liar.replace(liar.indexOf("ispe") + 8, 8, QByteArray("\0\0\0\x40\0\0\0\x40", 8));
    QVERIFY(!readBytes(liar, 100'000));
    QVERIFY(readBytes(heif, 128 * 64));
    QVERIFY(!readBytes(heif, 128 * 64 - 1));
}

void TestImages::otherCodingsAreNotRead() {
    QByteArray file = avif(quarters(64, 64));
    QVERIFY(file.contains("av1C") && file.mid(8, 4) == "avif");
    QVERIFY(!readBytes(file));
    for (const char* brand : {"mif1", "heic"})
        QVERIFY(!readBytes(file.replace(8, 4, brand)));
    const QByteArray twoHeads = heic(quarters(64, 64));
    QVERIFY(!readBytes(twoHeads + QByteArray("\0\0\0\x0cmeta\0\0\0\0", 12))); // which one holds?
}

void TestImages::gridsAreJudgedFirst() {
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

void TestImages::drawingsAreNotRead() {
    QVERIFY(!readBytes("<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'><rect width='9' "
                       "height='9'/></svg>"));
    QVERIFY(!readBytes("%PDF-1.4\n"));
    QVERIFY(!readBytes(""));
}

void TestImages::pngKeepsWhatItShows_data() {
    QTest::addColumn<int>("format");
    for (const QImage::Format format :
         {QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_ARGB32_Premultiplied,
          QImage::Format_RGB888, QImage::Format_RGBA64, QImage::Format_Grayscale8, QImage::Format_Grayscale16,
          QImage::Format_Indexed8, QImage::Format_Mono})
        QTest::addRow("%d", format) << int(format);
}

void TestImages::pngKeepsWhatItShows() {
    QFETCH(const int, format);
    // More than one strip, and an odd end.
    QImage image = noise(65, 150, QImage::Format_ARGB32).convertToFormat(QImage::Format(format));
    if (image.format() != QImage::Format_Grayscale8 && image.format() != QImage::Format_Grayscale16)
        image.setColorSpace(QColorSpace::DisplayP3);
    const auto file = encodePng(image, noLimit);
    QVERIFY(file);
    const QImage back = QImage::fromData(*file, "png");
    QCOMPARE(back.hasAlphaChannel(), image.hasAlphaChannel());
    const QImage::Format common = image.hasAlphaChannel() ? QImage::Format_RGBA8888 : QImage::Format_RGB888;
    QCOMPARE(back.convertToFormat(common), image.convertToFormat(common));
    QCOMPARE(back.colorSpace(), image.colorSpace());
}

void TestImages::pngStopsAtItsLimit() {
    const QImage image = noise(300, 300);
    const auto file = encodePng(image, noLimit);
    QVERIFY(file);
    QVERIFY(encodePng(image, file->size()));
    QVERIFY(!encodePng(image, file->size() - 1));
    QVERIFY(!encodePng(image, 0));
    QVERIFY(!encodePng(QImage(), noLimit));
    std::stop_source source;
    source.request_stop();
    QVERIFY(!encodePng(image, noLimit, source.get_token()));
}

void TestImages::fittingTriesPngThenWorseJpegs_data() {
    QTest::addColumn<int>("quality"); // 100 for PNG
    for (const int quality : {100, 85, 70, 50, 0})
        QTest::addRow("%d", quality) << quality;
}

void TestImages::fittingTriesPngThenWorseJpegs() {
    QFETCH(const int, quality);
    const QImage image = noise(200, 200);
    const auto sizeAt = [&](int of) {
        return of == 100 ? encodePng(image, noLimit)->size() : encodeJpeg(image, of, noLimit)->size();
    };
    if (quality == 0) { // beyond the worst
        QVERIFY(!fitImage(image, sizeAt(50) - 1));
        return;
    }
    const auto file = fitImage(image, sizeAt(quality));
    QVERIFY(file);
    QCOMPARE(file->bytes.size(), sizeAt(quality));
    QCOMPARE(file->extension, quality == 100 ? QStringLiteral("png") : QStringLiteral("jpg"));
    QCOMPARE(file->mediaType, quality == 100 ? QStringLiteral("image/png") : QStringLiteral("image/jpeg"));
}

void TestImages::smallerAndFlat_data() {
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QSize>("result");
    QTest::addRow("wide") << QSize(400, 300) << QSize(100, 75);
    QTest::addRow("high") << QSize(30, 1000) << QSize(3, 100);
    QTest::addRow("thin") << QSize(1, 1000) << QSize(1, 100);
    QTest::addRow("just fits") << QSize(100, 100) << QSize(100, 100);
    QTest::addRow("rounded up") << QSize(300, 200) << QSize(100, 67);
}

void TestImages::smallerAndFlat() {
    QFETCH(const QSize, size);
    QFETCH(const QSize, result);
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

void TestImages::thumbnails_data() {
    QTest::addColumn<QString>("url");
    QTest::addColumn<QSize>("size"); // empty for none
    const QByteArray jpeg = encoded(quarters(800, 400), "jpeg", 95);
    QTest::addRow("covers") << urlOf("image/jpeg", jpeg) << QSize(200, 100);
    QTest::addRow("turned") << urlOf("image/jpeg", withExif(jpeg, exif(6))) << QSize(100, 200);
    QTest::addRow("small already") << urlOf("image/png", encoded(quarters(90, 40), "png")) << QSize(90, 40);
    QTest::addRow("webp") << urlOf("image/webp", encoded(quarters(400, 400), "webp")) << QSize(100, 100);
    QTest::addRow("animated") << urlOf("image/webp", animatedWebp(quarters(400, 400))) << QSize(100, 100);
    QTest::addRow("gif") << urlOf("image/gif", animatedGif()) << QSize(1, 1);
    QTest::addRow("bomb") << urlOf("image/png", bomb("png")) << QSize();
    QImage blank(7000, 5000, QImage::Format_Mono);
    blank.fill(1);
    QTest::addRow("35 million pixels") << urlOf("image/png", encoded(blank, "png")) << QSize();
    QTest::addRow("no image") << urlOf("image/png", "hello") << QSize();
    QTest::addRow("not said to be one") << urlOf("application/pdf", jpeg) << QSize();
    QTest::addRow("not inline") << QStringLiteral("https://example.org/a.png") << QSize();
    QTest::addRow("no base64") << QStringLiteral("data:image/png;base64,?") << QSize();
}

void TestImages::thumbnails() {
    QFETCH(const QString, url);
    QFETCH(const QSize, size);
    const QImage image = thumbnail(url, QSize(100, 100));
    QCOMPARE(image.isNull(), size.isEmpty());
    if (!size.isEmpty())
        QCOMPARE(image.size(), size);
}

QTEST_GUILESS_MAIN(TestImages)
#include "TestImages.moc"
