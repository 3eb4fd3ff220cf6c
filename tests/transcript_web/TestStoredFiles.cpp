#include "BundleSchemeHandler.h"
#include "EnginePage.h"
#include "FixedFiles.h"
#include "InlineFiles.h"
#include "TeskalScheme.h"
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

using namespace teskal;
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
class TestStoredFiles : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void loads_data();
    void loads();
    void playsAndSeeks_data();
    void playsAndSeeks();
    void aLongSongComesInParts();
    void pagesDoNotLoad();
    void ranges_data();
    void ranges();

private:
    /// Presses a button that plays \a source in a new, muted \a element: playing needs a person's hand.
    void play(const QString& element, const QString& source);
    void addFile(const QString& id, const QString& type, const QByteArray& bytes);
    QVariant script(const QString& source, const QString& argument) {
        return page_->evaluate(QStringLiteral("(%1)('%2')").arg(source, argument));
    }

    QTemporaryDir folder_;
    FixedFiles files_;
    std::unique_ptr<EnginePage> page_;
};

void TestStoredFiles::addFile(const QString& id, const QString& type, const QByteArray& bytes) {
    PageFile inMemory;
    inMemory.bytes = bytes;
    inMemory.mediaType = type;
    files_.files.insert(id, inMemory);
    QFile file(folder_.filePath(id));
    QVERIFY(file.open(QFile::WriteOnly));
    file.write(bytes);
    PageFile onDisk;
    onDisk.path = file.fileName();
    onDisk.mediaType = type;
    files_.files.insert(id + QStringLiteral("-disk"), onDisk);
}

void TestStoredFiles::initTestCase() {
    addFile(QStringLiteral("song"), QStringLiteral("audio/wav"),
            QByteArray::fromStdString(service::melody("rain")));
    addFile(QStringLiteral("video"), QStringLiteral("video/webm"),
            QByteArray::fromStdString(service::sampleVideo()));
    addFile(QStringLiteral("html"), QStringLiteral("text/html"), "<script>parent.hit = true</script>");
    addFile(QStringLiteral("svg"), QStringLiteral("image/svg+xml"),
            "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"9\" height=\"9\"/>");
    addFile(QStringLiteral("gif"), QStringLiteral("image/gif"),
            QByteArray::fromBase64("R0lGODlhAQABAIAAAAAAAP///yH5BAEAAAAALAAAAAABAAEAAAIBRAA7"));
    QByteArray thousand; // each two bytes say where they are
    for (quint16 at = 0; at < 1000; at += 2)
        thousand.append(reinterpret_cast<const char*>(&at), 2);
    addFile(QStringLiteral("thousand"), QStringLiteral("image/png"), thousand);
    page_ = std::make_unique<EnginePage>(QSize(400, 300), &files_);
    QVERIFY(page_->open());
}

void TestStoredFiles::loads_data() {
    QTest::addColumn<QString>("id");
    QTest::addColumn<bool>("isShown");
    QTest::newRow("picture in memory") << QStringLiteral("gif") << true;
    QTest::newRow("picture on disk") << QStringLiteral("gif-disk") << true;
    QTest::newRow("markup is no picture") << QStringLiteral("svg") << false;
    QTest::newRow("missing") << QStringLiteral("none") << false;
}

void TestStoredFiles::loads() {
    QFETCH(const QString, id);
    QFETCH(const bool, isShown);
    script(
        QStringLiteral("(id) => { window.loaded = null; const image = new Image();"
                       "image.onload = () => { loaded = true; }; image.onerror = () => { loaded = false; };"
                       "image.src = 'teskal-app://file/' + id; return 1; }"),
        id);
    QVERIFY(page_->waitFor(QStringLiteral("loaded !== null")));
    QCOMPARE(page_->evaluate(QStringLiteral("loaded")).toBool(), isShown);
}

void TestStoredFiles::play(const QString& element, const QString& source) {
    page_->evaluate(QStringLiteral("window.player = document.createElement('%1'); player.muted = true;"
                                   "player.src = 'teskal-app://file/%2';"
                                   "window.cover = document.createElement('button');"
                                   "cover.style.cssText = 'position: fixed; inset: 0; z-index: 9';"
                                   "cover.onclick = () => player.play().catch((error) => {"
                                   " player.failure = String(error); });"
                                   "document.body.append(player, cover); 1")
                        .arg(element, source));
    QVERIFY(page_->waitFor(QStringLiteral("document.elementFromPoint(100, 100) === cover")));
    QTest::mouseClick(&page_->input(), Qt::LeftButton, {}, QPoint(100, 100));
    QVERIFY(page_->waitFor(QStringLiteral("!player.paused")));
    page_->evaluate(QStringLiteral("cover.remove(); 1"));
}

void TestStoredFiles::playsAndSeeks_data() {
    QTest::addColumn<QString>("element");
    QTest::addColumn<QString>("id");
    QTest::addColumn<double>("seconds");
    QTest::newRow("song in memory") << QStringLiteral("audio") << QStringLiteral("song") << 12.0;
    QTest::newRow("song on disk") << QStringLiteral("audio") << QStringLiteral("song-disk") << 12.0;
    QTest::newRow("video in memory") << QStringLiteral("video") << QStringLiteral("video") << 2.0;
    QTest::newRow("video on disk") << QStringLiteral("video") << QStringLiteral("video-disk") << 2.0;
}

void TestStoredFiles::playsAndSeeks() {
    QFETCH(const QString, element);
    QFETCH(const QString, id);
    QFETCH(const double, seconds);
    play(element, id);
    QVERIFY2(
        page_->waitFor(QStringLiteral("player.currentTime > 0.05")),
        qPrintable(page_->evaluate(QStringLiteral("player.failure ?? player.error?.message")).toString()));
    QVERIFY(std::abs(page_->evaluate(QStringLiteral("player.duration")).toDouble() - seconds) < 0.5);
    const double target = seconds * 0.6;
    page_->evaluate(QStringLiteral("player.currentTime = %1; 1").arg(target));
    QVERIFY(page_->waitFor(QStringLiteral("!player.seeking && player.currentTime > %1").arg(target + 0.05)));
    page_->evaluate(QStringLiteral("player.remove(); player.src = ''; 1"));
}

void TestStoredFiles::aLongSongComesInParts() {
    const QByteArray header =
        lengthened(QByteArray::fromStdString(service::melody("rain")).first(44), quint32(longSongBytes));
    QFile file(folder_.filePath(QStringLiteral("long")));
    QVERIFY(file.open(QFile::WriteOnly));
    file.write(header);
    QVERIFY(file.resize(longSongBytes)); // silence that takes no room
    PageFile song;
    song.path = file.fileName();
    song.mediaType = QStringLiteral("audio/wav");
    files_.files.insert(QStringLiteral("long"), song);
    files_.asked.clear();

    play(QStringLiteral("audio"), QStringLiteral("long"));
    QVERIFY(page_->waitFor(QStringLiteral("player.currentTime > 0")));
    QVERIFY(page_->waitFor(QStringLiteral("player.seekable.length === 1 && "
                                          "player.seekable.end(0) === player.duration")));
    const qsizetype before = files_.asked.count(QStringLiteral("long"));
    page_->evaluate(QStringLiteral("player.currentTime = player.duration * 0.9; 1"));
    QVERIFY(page_->waitFor(QStringLiteral("!player.seeking && "
                                          "player.currentTime > player.duration * 0.9 + 0.05")));
    QVERIFY2(files_.asked.count(QStringLiteral("long")) > before, "the far part was asked for by itself");
    page_->evaluate(QStringLiteral("player.src = ''; 1"));
}

void TestStoredFiles::pagesDoNotLoad() {
    page_->evaluate(QStringLiteral("window.hit = false; const frame = document.createElement('iframe');"
                                   "frame.src = 'teskal-app://file/html'; document.body.append(frame);"
                                   "const script = document.createElement('script');"
                                   "window.failed = false; script.onerror = () => { failed = true; };"
                                   "script.src = 'teskal-app://file/html'; document.body.append(script); 1"));
    QVERIFY(page_->waitFor(QStringLiteral("failed")));
    QVERIFY(!page_->evaluate(QStringLiteral("hit")).toBool());
    QVERIFY(!files_.asked.contains(QStringLiteral("html")));
}

void TestStoredFiles::ranges_data() {
    QTest::addColumn<QString>("id");
    QTest::addColumn<QByteArray>("range");
    QTest::addColumn<QString>("outcome");
    const auto row = [](const char* range, const char* outcome) {
        for (const char* id : {"thousand", "thousand-disk"})
            QTest::addRow("%s of %s", range, id)
                << QString::fromLatin1(id) << QByteArray(range) << QString::fromLatin1(outcome);
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

void TestStoredFiles::ranges() {
    QFETCH(const QString, id);
    QFETCH(const QByteArray, range);
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
    bare.setHtml(
        QStringLiteral("<script>const ask = new XMLHttpRequest();"
                       "ask.open('GET', 'teskal-app://file/%1');"
                       "if ('%2') ask.setRequestHeader('Range', '%2');"
                       "ask.responseType = 'arraybuffer';"
                       "ask.onloadend = () => { const bytes = new Uint16Array(ask.response ?? []);"
                       "document.title = `${ask.status}: ${bytes.length * 2} from ${bytes[0] ?? '-'}`; };"
                       "ask.send();</script>")
            .arg(id, QString::fromLatin1(range)),
        QUrl(QStringLiteral("teskal-app://file/")));
    QVERIFY(waitUntil([&] { return !outcome.isEmpty(); }, EnginePage::patience));
    QTEST(outcome, "outcome");
}

int main(int argc, char* argv[]) {
    prepareEngine();
    QApplication application(argc, argv);
    TestStoredFiles test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestStoredFiles.moc"
