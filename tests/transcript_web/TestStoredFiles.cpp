#include "BundleSchemeHandler.h"
#include "Columns.h"
#include "EnginePage.h"
#include "FixedFiles.h"
#include "InlineFiles.h"
#include "TeskalScheme.h"
#include "TestFiles.h"
#include "WaitUntil.h"

#include "SampleVideo.h"
#include "Sound.h"

#include <QApplication>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QWebEnginePage>
#include <QWebEngineProfile>

#include <bit>

using namespace teskal::test;

namespace {

constexpr qint64 longSongBytes = 96 * 1024 * 1024;

/// Replaces the sizes in a WAV file's header (RIFF, little-endian) by those of a file of \a count bytes.
QByteArray lengthened(QByteArray header, quint32 count) {
    static_assert(std::endian::native == std::endian::little);
    const auto put = [&header](qsizetype at, quint32 value) {
        header.replace(at, 4, QByteArray(reinterpret_cast<const char*>(&value), 4));
    };
    put(4, count - 8);
    put(40, count - 44);
    return header;
}

} // namespace

/// Pictures, songs and videos that the page loads under the private scheme, from disk and from memory.
class TestStoredFiles : public EngineTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        addFile(u"song"_qs, u"audio/wav"_qs, QByteArray::fromStdString(service::melody("rain")));
        addFile(u"video"_qs, u"video/webm"_qs, QByteArray::fromStdString(service::sampleVideo()));
        addFile(u"html"_qs, u"text/html"_qs, "<script>parent.hit = true</script>");
        addFile(u"svg"_qs, u"image/svg+xml"_qs,
                "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"9\" height=\"9\"/>");
        addFile(u"gif"_qs, u"image/gif"_qs,
                QByteArray::fromBase64("R0lGODlhAQABAIAAAAAAAP///yH5BAEAAAAALAAAAAABAAEAAAIBRAA7"));
        QByteArray thousand; // each two bytes say where they are
        for (quint16 at = 0; at < 1000; at += 2)
            thousand.append(reinterpret_cast<const char*>(&at), 2);
        addFile(u"thousand"_qs, u"image/png"_qs, thousand);
        page_ = std::make_unique<EnginePage>(QSize(400, 300), &files_);
        QVERIFY(page_->open());
    }

    void loads_data() {
        const auto row = columns<QString, bool>("id", "isShown");
        row("picture in memory", "gif", true);
        row("picture on disk", "gif-disk", true);
        row("markup is no picture", "svg", false);
        row("missing", "none", false);
    }
    void loads() {
        FETCH(QString, id, bool, isShown);
        page_->evaluate(u"window.loaded = null; window.image = new Image();"
                        "image.onload = () => { loaded = true; }; image.onerror = () => { loaded = false; };"
                        "image.src = 'teskal-app://file/%1'; 1"_qs.arg(id));
        QVERIFY(page_->waitFor(u"loaded !== null"_qs));
        QCOMPARE(page_->holds(u"loaded"_qs), isShown);
    }

    void playsAndSeeks_data() {
        const auto row = columns<QString, QString, double>("element", "id", "seconds");
        row("song in memory", "audio", "song", 12.0);
        row("song on disk", "audio", "song-disk", 12.0);
        row("video in memory", "video", "video", 2.0);
        row("video on disk", "video", "video-disk", 2.0);
    }
    void playsAndSeeks() {
        FETCH(QString, element, QString, id, double, seconds);
        play(element, id);
        QVERIFY2(page_->waitFor(u"player.currentTime > 0.05"_qs),
                 qPrintable(page_->text(u"player.failure ?? player.error?.message"_qs)));
        QVERIFY(std::abs(page_->number(u"player.duration"_qs) - seconds) < 0.5);
        const double target = seconds * 0.6;
        page_->evaluate(u"player.currentTime = %1; 1"_qs.arg(target));
        QVERIFY(page_->waitFor(u"!player.seeking && player.currentTime > %1"_qs.arg(target + 0.05)));
        page_->evaluate(u"player.remove(); player.src = ''; 1"_qs);
    }

    void aLongSongComesInParts() {
        const QByteArray header = QByteArray::fromStdString(service::melody("rain")).first(44);
        addFile(u"long"_qs, u"audio/wav"_qs, lengthened(header, quint32(longSongBytes)));
        // Silence that takes no room.
        QVERIFY(QFile::resize(folder_.filePath(u"long"_qs), longSongBytes));
        files_.asked.clear();

        play(u"audio"_qs, u"long-disk"_qs);
        QVERIFY(page_->waitFor(u"player.currentTime > 0"_qs));
        QVERIFY(page_->waitFor(u"player.seekable.length === 1 && "
                               "player.seekable.end(0) === player.duration"_qs));
        const qsizetype before = files_.asked.count(u"long-disk"_qs);
        page_->evaluate(u"player.currentTime = player.duration * 0.9; 1"_qs);
        QVERIFY(page_->waitFor(u"!player.seeking && "
                               "player.currentTime > player.duration * 0.9 + 0.05"_qs));
        QVERIFY2(files_.asked.count(u"long-disk"_qs) > before, "the far part was asked for by itself");
        page_->evaluate(u"player.src = ''; 1"_qs);
    }

    void pagesDoNotLoad() {
        page_->evaluate(u"window.hit = false; const frame = document.createElement('iframe');"
                        "frame.src = 'teskal-app://file/html'; document.body.append(frame);"
                        "const script = document.createElement('script');"
                        "window.failed = false; script.onerror = () => { failed = true; };"
                        "script.src = 'teskal-app://file/html'; document.body.append(script); 1"_qs);
        QVERIFY(page_->waitFor(u"failed"_qs));
        QVERIFY(!page_->holds(u"hit"_qs));
        QVERIFY(!files_.asked.contains(u"html"_qs));
    }

    void ranges_data() {
        const auto add = columns<QString, QString, QString>("id", "range", "outcome");
        const auto row = [&add](const char* range, const char* outcome) {
            for (const char* id : {"thousand", "thousand-disk"})
                add(qPrintable(QLatin1String(range) + u" of "_qs + QLatin1String(id)), id, range, outcome);
        };
        row("", "200: 1000 from 0");
        row("bytes=0-", "206: 1000 from 0");
        row("bytes=10-19", "206: 10 from 10");
        row("bytes=900-5000", "206: 100 from 900");
        row("bytes=-100", "206: 100 from 900");
        row("bytes=-5000", "206: 1000 from 0");
        row("bytes=10-5", "200: 1000 from 0");
        row("bytes=500-509,10-19", "200: 1000 from 0");
        row("bytes=1000-", "0: 0 from -");
        row("bytes=2000-3000", "0: 0 from -");
    }
    void ranges() {
        FETCH(QString, id, QString, range);
        QWebEngineProfile profile;
        const InlineFiles none;
        BundleSchemeHandler handler(RendererFiles(folder_.path()), &files_, none);
        profile.installUrlSchemeHandler(teskalScheme, &handler);
        QWebEnginePage bare(&profile); // the page's own policy allows no such request
        QString outcome;
        connect(&bare, &QWebEnginePage::titleChanged, &bare, [&](const QString& title) {
            if (title.contains(QLatin1Char(':')) && title.contains(QLatin1String("from")))
                outcome = title;
        });
        bare.setHtml(u"<script>const ask = new XMLHttpRequest();"
                     "ask.open('GET', 'teskal-app://file/%1');"
                     "if ('%2') ask.setRequestHeader('Range', '%2');"
                     "ask.responseType = 'arraybuffer';"
                     "ask.onloadend = () => { const bytes = new Uint16Array(ask.response ?? []);"
                     "document.title = `${ask.status}: ${bytes.length * 2} from ${bytes[0] ?? '-'}`; };"
                     "ask.send();</script>"_qs.arg(id, range),
                     QUrl(u"teskal-app://file/"_qs));
        QVERIFY(waitUntil([&] { return !outcome.isEmpty(); }, EnginePage::patience));
        QTEST(outcome, "outcome");
    }

private:
    /// Presses a button that plays \a source in a new, muted \a element: playing needs a person's hand.
    void play(const QString& element, const QString& source) {
        page_->evaluate(u"window.player = document.createElement('%1'); player.muted = true;"
                        "player.src = 'teskal-app://file/%2';"
                        "window.cover = document.createElement('button');"
                        "cover.style.cssText = 'position: fixed; inset: 0; z-index: 9';"
                        "cover.onclick = () => player.play().catch((error) => {"
                        " player.failure = String(error); });"
                        "document.body.append(player, cover); 1"_qs.arg(element, source));
        QVERIFY(page_->waitFor(u"document.elementFromPoint(100, 100) === cover"_qs));
        QTest::mouseClick(&page_->input(), Qt::LeftButton, {}, QPoint(100, 100));
        QVERIFY(page_->waitFor(u"!player.paused"_qs));
        page_->evaluate(u"cover.remove(); 1"_qs);
    }

    /// In memory, and on disk as \a id with "-disk".
    void addFile(const QString& id, const QString& type, const QByteArray& bytes) {
        PageFile file;
        file.mediaType = type;
        file.bytes = bytes;
        files_.files.insert(id, file);
        file.bytes.clear();
        file.path = folder_.filePath(id);
        writeFile(file.path, bytes);
        files_.files.insert(id + u"-disk"_qs, file);
    }

    QTemporaryDir folder_;
    FixedFiles files_;
    std::unique_ptr<EnginePage> page_;
};

QTEST_MAIN(TestStoredFiles)
#include "TestStoredFiles.moc"
