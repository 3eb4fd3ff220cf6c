#include "Attachments.h"

#include "Cancelled.h"
#include "SampleFiles.h"

#include <QDir>
#include <QFile>
#include <QLocalServer>
#include <QPainter>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <sys/stat.h>
#include <unistd.h>

using namespace teskal;
using namespace teskal::test;

namespace {

using Kind = AttachmentError::Kind;

constexpr qsizetype limit = 8'388'608;

struct Refusal {
    Kind kind;
    QString text;
};

std::optional<Refusal> refusalOf(const QUrl& url) {
    try {
        Attachments::load(url);
    } catch (const AttachmentError& error) {
        return Refusal{error.kind(), error.text()};
    }
    return std::nullopt;
}

/// The bytes in \a made, after a look at the rest of it.
QByteArray contentOf(const Attachment& made) {
    const QString head = QStringLiteral("data:%1;base64,").arg(made.mediaType);
    const bool isWhole = made.dataUrl && made.dataUrl->startsWith(head) && !made.fileId && !made.dropped;
    return isWhole ? QByteArray::fromBase64(made.dataUrl->mid(head.size()).toLatin1()) : QByteArray();
}

QByteArray filled(QByteArray file, qsizetype size) {
    return file.append(QByteArray(size - file.size(), '\x5a'));
}

/// Incompressible but for a hole in its last quarter.
QImage noiseWithHole(int width, int height) {
    QImage image = noise(width, height, QImage::Format_ARGB32);
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_Clear);
    painter.fillRect(width / 2, height / 2, width, height, Qt::black);
    return image;
}

} // namespace

/// What becomes of the files that users attach.
class TestAttachments final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void keptAsTheyAre_data();
    void keptAsTheyAre();
    void converted_data();
    void converted();
    void refused_data();
    void refused();
    void notRegularFiles_data();
    void notRegularFiles();
    void filesThatMayNotBeRead();
    void hugeFilesAreNotReadWhole();
    void imagesWithoutFiles();
    void transparencyStaysInPng();
    void stopsWhenAsked();
    void panelOffersWhatIsTaken();

private:
    QString path(const QString& name) const { return folder_.filePath(name); }
    QUrl url(const QString& name) const { return QUrl::fromLocalFile(path(name)); }
    void write(const QString& name, const QByteArray& bytes) const {
        QFile file(path(name));
        QVERIFY(file.open(QFile::WriteOnly) && file.write(bytes) == bytes.size());
    }

    QTemporaryDir folder_;
};

void TestAttachments::keptAsTheyAre_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("type");
    const auto add = [](const char* name, const QByteArray& file, const char* type) {
        QTest::addRow("%s", name) << QString::fromUtf8(name) << file << QString::fromLatin1(type);
    };
    const QImage image = quarters(120, 80);
    const QByteArray jpeg = withExif(encoded(image, "jpeg"), exif(6));
    add("photo.png", encoded(image, "png"), "image/png");
    add("photo.jpg", jpeg, "image/jpeg");
    add("PHOTO.JPEG", jpeg, "image/jpeg");
    add("photo.webp", encoded(image, "webp"), "image/webp");
    add("moving.webp", animatedWebp(image), "image/webp");
    add("moving.gif", animatedGif(1'000'000), "image/gif");
    add("paper.pdf", "%PDF-1.4\n%%EOF\n", "application/pdf");
    add("one byte.pdf", "%", "application/pdf");
    add("two bytes.Pdf", "%P", "application/pdf");
    add("a “name” – with %1, dots. and é.png", encoded(image, "png"), "image/png");
    add("heic inside.png", heic(image), "image/png"); // the name decides
    add("largest.png", filled(encoded(image, "png"), limit), "image/png");
    add("largest.pdf", filled("%PDF-1.4\n", limit), "application/pdf");
    for (const char* format : {"png", "jpeg", "webp", "gif"})
        add(QByteArray("bomb.").append(format).constData(), bomb(format),
            QByteArray("image/").append(format).constData());
}

void TestAttachments::keptAsTheyAre() {
    QFETCH(const QString, name);
    QFETCH(const QByteArray, file);
    QFETCH(const QString, type);
    write(name, file);
    const Attachment made = Attachments::load(url(name));
    QCOMPARE(made.name, name);
    QCOMPARE(made.mediaType, type);
    const QByteArray expected = "data:" + type.toLatin1() + ";base64," + file.toBase64();
    QVERIFY(made.dataUrl && made.dataUrl->toLatin1() == expected); // too long to be printed
}

void TestAttachments::converted_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("result");
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QByteArray>("colours");
    const auto add = [](const char* name, const QByteArray& file, const char* result, QSize size,
                        const QByteArray& colours = "RGBW") {
        QTest::addRow("%s", name) << QString::fromUtf8(name) << file << QString::fromUtf8(result) << size
                                  << colours;
    };
    const QImage image = quarters(120, 80);
    const QByteArray png = encoded(image, "png"), jpeg = encoded(image, "jpeg", 95), photo = heic(image);
    add("photo.heic", photo, "photo.png", {120, 80});
    add("PHOTO.HEIF", photo, "PHOTO.png", {120, 80});
    add("turned.heic", heic(image, exif(6), true), "turned.png", {80, 120}, "BRWG");
    add("my.scan.v2.tiff", encoded(image, "tiff"), "my.scan.v2.png", {120, 80});
    add("scan.tif", encoded(image, "tiff"), "scan.png", {120, 80});
    add("old.bmp", encoded(image, "bmp"), "old.png", {120, 80});
    add("jpeg inside.heic", jpeg, "jpeg inside.png", {120, 80});
    add("just over.png", filled(png, limit + 1), "just over.png", {120, 80});
    add("turned.jpg", padded(withExif(jpeg, exif(6)), limit), "turned.png", {80, 120}, "BRWG");
    add("turned back.jpg", padded(withExif(jpeg, exif(8, true)), limit), "turned back.png", {80, 120},
        "GWRB");
    add("moving.gif", animatedGif(limit), "moving.png", {1, 1}, "RRRR");
    // Ten megabytes that do not compress.
    add("noise.png", encoded(noise(3200, 1050), "png", 100), "noise.jpg", {2560, 840}, {});
    add("no smaller.png", encoded(noise(1500, 2200), "png", 100), "no smaller.jpg", {1500, 2200}, {});
    add("hole.png", encoded(noiseWithHole(2600, 1300), "png", 100), "hole.jpg", {2560, 1280}, "W");
    add("hole.tiff", encoded(noiseWithHole(2600, 1300), "tiff"), "hole.jpg", {2560, 1280}, "W");
}

void TestAttachments::converted() {
    QFETCH(const QString, name);
    QFETCH(const QByteArray, file);
    QFETCH(const QString, result);
    QFETCH(const QSize, size);
    QFETCH(const QByteArray, colours);
    write(name, file);
    const Attachment made = Attachments::load(url(name));
    QCOMPARE(made.name, result);
    const bool isPng = result.endsWith(QLatin1String(".png"));
    QCOMPARE(made.mediaType, isPng ? QStringLiteral("image/png") : QStringLiteral("image/jpeg"));
    const QByteArray content = contentOf(made);
    QVERIFY(content.size() <= limit);
    const QImage image = QImage::fromData(content, isPng ? "png" : "jpeg");
    QCOMPARE(image.size(), size);
    QCOMPARE(quartersOf(image).right(colours.size()), colours);
}

void TestAttachments::refused_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("text");
    const auto add = [](const char* name, const QByteArray& file, Kind kind, const char* text) {
        QTest::addRow("%s", name) << QString::fromUtf8(name) << file << int(kind) << QString::fromUtf8(text);
    };
    const auto unsupported = [&](const char* name, const QByteArray& file) {
        add(name, file, Kind::Unsupported,
            QByteArray(name).append(" isn’t a supported file. Attach images or PDFs.").constData());
    };
    const QByteArray png = encoded(quarters(120, 80), "png");
    const QByteArray photo = heic(quarters(120, 80));
    unsupported("notes.txt", "hello");
    unsupported("extension", png);
    unsupported("unknown.qqq", png);
    unsupported("film.mp4", png);
    unsupported("drawing.svg", "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'/>");
    unsupported("half.heic", photo.first(photo.size() / 2));
    unsupported("half.tiff", encoded(quarters(120, 80), "tiff").first(300));
    unsupported("bomb.heic", bomb("heic"));
    unsupported("bomb.tiff", bomb("tiff"));
    unsupported("large bomb.png", filled(bomb("png"), limit + 1));
    unsupported("large bomb.gif", filled(bomb("gif"), limit + 1));
    unsupported("large bomb.jpg", padded(bomb("jpeg"), limit));
    unsupported("no image.png", QByteArray(limit + 1, 'x'));
    add("large.pdf", filled("%PDF-1.4\n", limit + 1), Kind::TooLarge, "large.pdf is over 8 MB.");
    add("empty.png", "", Kind::Unreadable, "Couldn’t read empty.png.");
    add("empty.txt", "", Kind::Unreadable, "Couldn’t read empty.txt.");
}

void TestAttachments::refused() {
    QFETCH(const QString, name);
    QFETCH(const QByteArray, file);
    QFETCH(const int, kind);
    QFETCH(const QString, text);
    write(name, file);
    const auto refusal = refusalOf(url(name));
    QVERIFY(refusal);
    QCOMPARE(int(refusal->kind), kind);
    QCOMPARE(refusal->text, text);
}

void TestAttachments::notRegularFiles_data() {
    QTest::addColumn<QUrl>("url");
    QTest::addColumn<QString>("name");
    const auto add = [](const char* row, const QUrl& file, const char* name) {
        QTest::addRow("%s", row) << file << QString::fromUtf8(name);
    };
    QDir(folder_.path()).mkdir(QStringLiteral("folder.png"));
    QVERIFY(::mkfifo(QFile::encodeName(path(QStringLiteral("pipe.png"))).constData(), 0600) == 0);
    QFile::link(path(QStringLiteral("nowhere")), path(QStringLiteral("link.png")));
    write(QStringLiteral("deleted.png"), encoded(quarters(9, 9), "png"));
    QFile::remove(path(QStringLiteral("deleted.png")));
    add("folder", url(QStringLiteral("folder.png")), "folder.png");
    add("folder with a slash", url(QStringLiteral("folder.png/")), "folder.png");
    add("device", QUrl(QStringLiteral("file:///dev/zero")), "zero");
    add("pipe", url(QStringLiteral("pipe.png")), "pipe.png");
    add("link to nothing", url(QStringLiteral("link.png")), "link.png");
    add("deleted", url(QStringLiteral("deleted.png")), "deleted.png");
    add("not even a folder", url(QStringLiteral("none/there.png")), "there.png");
    add("elsewhere", QUrl(QStringLiteral("https://example.org/a/picture.png?x=1")), "picture.png");
    add("endless, and empty by its size", QUrl(QStringLiteral("file:///proc/self/maps")), "maps");
    add("no name", QUrl(), "");
}

void TestAttachments::notRegularFiles() {
    QFETCH(const QUrl, url);
    QFETCH(const QString, name);
    const auto refusal = refusalOf(url); // and in no time: who waits for a pipe waits for ever
    QVERIFY(refusal);
    QCOMPARE(int(refusal->kind), int(Kind::Unreadable));
    QCOMPARE(refusal->text, QStringLiteral("Couldn’t read %1.").arg(name));
}

void TestAttachments::filesThatMayNotBeRead() {
    const QString socket = path(QStringLiteral("socket.png"));
    QLocalServer server;
    QVERIFY(server.listen(socket));
    QCOMPARE(int(refusalOf(QUrl::fromLocalFile(socket)).value().kind), int(Kind::Unreadable));

    write(QStringLiteral("secret.png"), encoded(quarters(9, 9), "png"));
    QVERIFY(QFile::setPermissions(path(QStringLiteral("secret.png")), {}));
    // The superuser may read everything: go on as somebody else.
    const bool isSuperuser = ::geteuid() == 0;
    if (isSuperuser)
        QVERIFY(::seteuid(65534) == 0);
    const auto back = qScopeGuard([&] {
        if (isSuperuser && ::seteuid(0) != 0)
            qFatal("cannot become the superuser again");
    });
    QCOMPARE(int(refusalOf(url(QStringLiteral("secret.png"))).value().kind), int(Kind::Unreadable));
}

void TestAttachments::hugeFilesAreNotReadWhole() {
    // Ten gigabytes, of which the disk holds almost nothing.
    const auto writeHuge = [this](const QString& name, const QByteArray& start) {
        write(name, start);
        QVERIFY(QFile::resize(path(name), 10'000'000'000));
    };
    writeHuge(QStringLiteral("huge.pdf"), "%PDF-1.4\n");
    writeHuge(QStringLiteral("huge.png"), encoded(quarters(40, 40), "png"));
    writeHuge(QStringLiteral("huge.tiff"), {});
    writeHuge(QStringLiteral("huge.heic"), heic(quarters(64, 64)));
    QCOMPARE(int(refusalOf(url(QStringLiteral("huge.pdf"))).value().kind), int(Kind::TooLarge));
    // The image in front of all that is an image.
    QCOMPARE(Attachments::load(url(QStringLiteral("huge.png"))).mediaType, QStringLiteral("image/png"));
    QCOMPARE(int(refusalOf(url(QStringLiteral("huge.tiff"))).value().kind), int(Kind::Unsupported));
    QCOMPARE(Attachments::load(url(QStringLiteral("huge.heic"))).name, QStringLiteral("huge.png"));
}

void TestAttachments::imagesWithoutFiles() {
    const Attachment small = Attachments::from(quarters(60, 40), QStringLiteral("Pasted image.png"));
    QCOMPARE(small.name, QStringLiteral("Pasted image.png"));
    QCOMPARE(quartersOf(QImage::fromData(contentOf(small), "png")), QByteArray("RGBW"));
    const Attachment large = Attachments::from(noise(3000, 1000), QStringLiteral("Dropped image.png"));
    QCOMPARE(large.name, QStringLiteral("Dropped image.jpg"));
    QCOMPARE(large.mediaType, QStringLiteral("image/jpeg"));
    QCOMPARE(QImage::fromData(contentOf(large), "jpeg").size(), QSize(2560, 853));
    QCOMPARE(Attachments::from(quarters(2, 2), QStringLiteral("no dot")).name, QStringLiteral("no dot.png"));
    QVERIFY_THROWS_EXCEPTION(AttachmentError, Attachments::from(QImage(), QStringLiteral("x.png")));
}

void TestAttachments::transparencyStaysInPng() {
    QImage image(30, 20, QImage::Format_ARGB32);
    image.fill(QColor(10, 200, 30, 128));
    write(QStringLiteral("glass.tiff"), encoded(image, "tiff"));
    const Attachment made = Attachments::load(url(QStringLiteral("glass.tiff")));
    QCOMPARE(QImage::fromData(contentOf(made), "png").pixelColor(3, 3).alpha(), 128);
}

void TestAttachments::stopsWhenAsked() {
    std::stop_source source;
    source.request_stop();
    write(QStringLiteral("stopped.png"), encoded(quarters(9, 9), "png"));
    const auto token = source.get_token();
    QVERIFY_THROWS_EXCEPTION(Cancelled, Attachments::load(url(QStringLiteral("stopped.png")), token));
    QVERIFY_THROWS_EXCEPTION(Cancelled, Attachments::from(quarters(9, 9), QStringLiteral("x.png"), token));
}

void TestAttachments::panelOffersWhatIsTaken() {
    const QStringList types = Attachments::pickerTypes();
    for (const char* type : {"image/png", "image/jpeg", "image/webp", "image/gif", "application/pdf",
                             "image/heif", "image/tiff", "image/bmp"})
        QVERIFY2(types.contains(QLatin1String(type)), type);
    const QStringList patterns = Attachments::pickerPatterns();
    for (const char* pattern : {"*.png", "*.jpg", "*.jpeg", "*.heic", "*.tif", "*.pdf"})
        QVERIFY2(patterns.contains(QLatin1String(pattern)), pattern);
    QVERIFY(!patterns.contains(QStringLiteral("*.txt")));
}

QTEST_GUILESS_MAIN(TestAttachments)
#include "TestAttachments.moc"
