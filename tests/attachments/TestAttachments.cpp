#include "Attachments.h"
#include "Columns.h"

#include "Cancelled.h"
#include "SampleFiles.h"
#include "TestFiles.h"

#include <QLocalServer>
#include <QPainter>

#include <sys/stat.h>
#include <unistd.h>

using namespace teskal::test;

namespace {

using Kind = AttachmentError::Kind;

constexpr qsizetype limit = 8'388'608;

std::optional<AttachmentError> refusalOf(const QUrl& url) {
    try {
        Attachments::load(url);
    } catch (const AttachmentError& error) {
        return error;
    }
    return std::nullopt;
}

/// The bytes in \a made, after a look at the rest of it.
QByteArray bytesOf(const Attachment& made) {
    const QString head = u"data:%1;base64,"_qs.arg(made.mediaType);
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
    void keptAsTheyAre_data() {
        const auto add = columns<QByteArray, QString>("file", "type");
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
            add(qPrintable(u"bomb."_qs + QLatin1String(format)), bomb(format),
                u"image/"_qs + QLatin1String(format));
    }

    void keptAsTheyAre() {
        FETCH(QByteArray, file, QString, type);
        const QString name = nameOfRow();
        write(name, file);
        const Attachment made = Attachments::load(url(name));
        QCOMPARE(made.name, name);
        QCOMPARE(made.mediaType, type);
        const QByteArray expected = "data:" + type.toLatin1() + ";base64," + file.toBase64();
        QVERIFY(made.dataUrl && made.dataUrl->toLatin1() == expected); // too long to be printed
    }

    void converted_data() {
        const auto row = columns<QByteArray, QString, QSize, QByteArray>("file", "result", "size", "colours");
        const auto add = [&row](const char* name, const QByteArray& file, const char* result, QSize size,
                                const char* colours = "RGBW") { row(name, file, result, size, colours); };
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
        add("noise.png", encoded(noise(3200, 1050), "png", 100), "noise.jpg", {2560, 840}, "");
        add("no smaller.png", encoded(noise(1500, 2200), "png", 100), "no smaller.jpg", {1500, 2200}, "");
        add("hole.png", encoded(noiseWithHole(2600, 1300), "png", 100), "hole.jpg", {2560, 1280}, "W");
        add("hole.tiff", encoded(noiseWithHole(2600, 1300), "tiff"), "hole.jpg", {2560, 1280}, "W");
    }

    void converted() {
        FETCH(QByteArray, file, QString, result, QSize, size, QByteArray, colours);
        write(nameOfRow(), file);
        const Attachment made = Attachments::load(url(nameOfRow()));
        QCOMPARE(made.name, result);
        const bool isPng = result.endsWith(u".png");
        QCOMPARE(made.mediaType, isPng ? u"image/png"_qs : u"image/jpeg"_qs);
        const QByteArray content = bytesOf(made);
        QVERIFY(content.size() <= limit);
        const QImage image = QImage::fromData(content, isPng ? "png" : "jpeg");
        QCOMPARE(image.size(), size);
        QCOMPARE(quartersOf(image).right(colours.size()), colours);
    }

    void refused_data() {
        const auto add = columns<QByteArray, Kind, QString>("file", "kind", "text");
        const auto unsupported = [&add](const char* name, const QByteArray& file) {
            add(name, file, Kind::Unsupported,
                QLatin1String(name) + u" isn’t a supported file. Attach images or PDFs."_qs);
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

    void refused() {
        FETCH(QByteArray, file, Kind, kind, QString, text);
        write(nameOfRow(), file);
        const auto refusal = refusalOf(url(nameOfRow()));
        QVERIFY(refusal);
        QCOMPARE(refusal->kind(), kind);
        QCOMPARE(refusal->text(), text);
    }

    void notRegularFiles_data() {
        const auto row = columns<QUrl, QString>("url", "name");
        QDir(folder_.path()).mkdir(u"folder.png"_qs);
        QVERIFY(::mkfifo(QFile::encodeName(path(u"pipe.png"_qs)).constData(), 0600) == 0);
        QFile::link(path(u"nowhere"_qs), path(u"link.png"_qs));
        write(u"deleted.png"_qs, encoded(quarters(9, 9), "png"));
        QFile::remove(path(u"deleted.png"_qs));
        row("folder", url(u"folder.png"_qs), "folder.png");
        row("folder with a slash", url(u"folder.png/"_qs), "folder.png");
        row("device", QUrl(u"file:///dev/zero"_qs), "zero");
        row("pipe", url(u"pipe.png"_qs), "pipe.png");
        row("link to nothing", url(u"link.png"_qs), "link.png");
        row("deleted", url(u"deleted.png"_qs), "deleted.png");
        row("not even a folder", url(u"none/there.png"_qs), "there.png");
        row("elsewhere", QUrl(u"https://example.org/a/picture.png?x=1"_qs), "picture.png");
        row("endless, and empty by its size", QUrl(u"file:///proc/self/maps"_qs), "maps");
        row("no name", QUrl(), "");
    }

    void notRegularFiles() {
        FETCH(QUrl, url, QString, name);
        const auto refusal = refusalOf(url); // and in no time: who waits for a pipe waits for ever
        QVERIFY(refusal);
        QCOMPARE(refusal->kind(), Kind::Unreadable);
        QCOMPARE(refusal->text(), u"Couldn’t read %1."_qs.arg(name));
    }

    void filesThatMayNotBeRead() {
        const QString socket = path(u"socket.png"_qs);
        QLocalServer server;
        QVERIFY(server.listen(socket));
        QCOMPARE(refusalOf(QUrl::fromLocalFile(socket)).value().kind(), Kind::Unreadable);

        write(u"secret.png"_qs, encoded(quarters(9, 9), "png"));
        QVERIFY(QFile::setPermissions(path(u"secret.png"_qs), {}));
        // The superuser may read everything: go on as somebody else.
        const bool isSuperuser = ::geteuid() == 0;
        if (isSuperuser)
            QVERIFY(::seteuid(65534) == 0);
        const auto back = qScopeGuard([&] {
            if (isSuperuser && ::seteuid(0) != 0)
                qFatal("cannot become the superuser again");
        });
        QCOMPARE(refusalOf(url(u"secret.png"_qs)).value().kind(), Kind::Unreadable);
    }

    void hugeFilesAreNotReadWhole() {
        // Ten gigabytes, of which the disk holds almost nothing.
        const auto writeHuge = [this](const QString& name, const QByteArray& start) {
            write(name, start);
            QVERIFY(QFile::resize(path(name), 10'000'000'000));
        };
        writeHuge(u"huge.pdf"_qs, "%PDF-1.4\n");
        writeHuge(u"huge.png"_qs, encoded(quarters(40, 40), "png"));
        writeHuge(u"huge.tiff"_qs, {});
        writeHuge(u"huge.heic"_qs, heic(quarters(64, 64)));
        QCOMPARE(refusalOf(url(u"huge.pdf"_qs)).value().kind(), Kind::TooLarge);
        // The image in front of all that is an image.
        QCOMPARE(Attachments::load(url(u"huge.png"_qs)).mediaType, u"image/png"_qs);
        QCOMPARE(refusalOf(url(u"huge.tiff"_qs)).value().kind(), Kind::Unsupported);
        QCOMPARE(Attachments::load(url(u"huge.heic"_qs)).name, u"huge.png"_qs);
    }

    void imagesWithoutFiles() {
        const Attachment small = Attachments::from(quarters(60, 40), u"Pasted image.png"_qs);
        QCOMPARE(small.name, u"Pasted image.png"_qs);
        QCOMPARE(quartersOf(QImage::fromData(bytesOf(small), "png")), QByteArray("RGBW"));
        const Attachment large = Attachments::from(noise(3000, 1000), u"Dropped image.png"_qs);
        QCOMPARE(large.name, u"Dropped image.jpg"_qs);
        QCOMPARE(large.mediaType, u"image/jpeg"_qs);
        QCOMPARE(QImage::fromData(bytesOf(large), "jpeg").size(), QSize(2560, 853));
        QCOMPARE(Attachments::from(quarters(2, 2), u"no dot"_qs).name, u"no dot.png"_qs);
        QVERIFY_THROWS_EXCEPTION(AttachmentError, Attachments::from(QImage(), u"x.png"_qs));
    }

    void transparencyStaysInPng() {
        QImage image(30, 20, QImage::Format_ARGB32);
        image.fill(QColor(10, 200, 30, 128));
        write(u"glass.tiff"_qs, encoded(image, "tiff"));
        const Attachment made = Attachments::load(url(u"glass.tiff"_qs));
        QCOMPARE(QImage::fromData(bytesOf(made), "png").pixelColor(3, 3).alpha(), 128);
    }

private:
    QString path(const QString& name) const { return folder_.filePath(name); }
    QUrl url(const QString& name) const { return QUrl::fromLocalFile(path(name)); }
    void write(const QString& name, const QByteArray& bytes) const { writeFile(path(name), bytes); }
    static QString nameOfRow() { return QString::fromUtf8(QTest::currentDataTag()); }

    QTemporaryDir folder_;
};

QTEST_GUILESS_MAIN(TestAttachments)
#include "TestAttachments.moc"
