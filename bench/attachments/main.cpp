// Attaching large files, beside the bare work of the libraries: an 8 MB image that is kept as it is, photos
// of 12 megapixels that must be converted, and what the main thread notices of all that.
// Usage: bench_attachments [folder for the files, default: the system's temporary one]

#include "AttachmentIntake.h"
#include "Attachments.h"
#include "BareCodecs.h"
#include "BenchMain.h"
#include "Comparison.h"
#include "Heartbeat.h"
#include "Measure.h"
#include "Photo.h"
#include "SampleFiles.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QUrl>

#include <atomic>
#include <cstdio>
#include <stdexcept>
#include <thread>

using namespace teskal;
using namespace teskal::bench;

namespace {

constexpr int runs = 5;
constexpr double longestBlock = 8; // ms

struct Files {
    QString kept, jpeg, heic;
    QImage pasted;
};

QString write(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    if (!file.open(QFile::WriteOnly) || file.write(bytes) != bytes.size())
        throw std::runtime_error("could not write " + path.toStdString());
    return path;
}

Files makeFiles(const QDir& folder) {
    const QImage image = photo();
    const QByteArray jpeg = test::encoded(image, "jpeg", 100);
    if (jpeg.size() <= Attachments::sizeLimit)
        throw std::runtime_error("the photo is too small to be converted");
    const QByteArray png = test::encoded(test::noise(1'600, 1'000), "png", 100);
    return {write(folder.filePath(QStringLiteral("kept.png")),
                  png + QByteArray(Attachments::sizeLimit - png.size(), '\x5a')),
            write(folder.filePath(QStringLiteral("photo.jpg")), jpeg),
            write(folder.filePath(QStringLiteral("photo.heic")), test::heic(image)), image};
}

Attachment load(const QString& path) {
    return Attachments::load(QUrl::fromLocalFile(path));
}

QByteArray readAndEncode(const QString& path) {
    QFile file(path);
    file.open(QFile::ReadOnly);
    return file.readAll().toBase64();
}

Comparison compareKept(const Files& files) {
    const auto [ours, bare] = mediansByTurns(
        runs * 3, [&] { return load(files.kept); }, [&] { return readAndEncode(files.kept); });
    return {QStringLiteral("8 MB image kept"),
            QStringLiteral("read and base64"),
            bare,
            ours,
            Attachments::sizeLimit,
            2};
}

Comparison compareConverted(const QString& what, const QString& path, QImage (*decode)(const QString&)) {
    const auto [ours, bare] = mediansByTurns(
        runs, [&] { return load(path); }, [&] { return packBare(decode(path)); });
    return {what, QStringLiteral("bare codecs, scaling"), bare, ours, QFile(path).size(), 1.3};
}

/// Everything at once, as the user drops it.
Delay delayOfIntake(const Files& files) {
    AttachmentIntake intake;
    int left = 8;
    const auto count = [&] { --left; };
    QObject::connect(&intake, &AttachmentIntake::ready, &intake, count);
    QObject::connect(&intake, &AttachmentIntake::failed, &intake, count);
    const auto addAll = [&] {
        for (int i = 0; i < 2; ++i) {
            for (const QString& path : {files.kept, files.jpeg, files.heic})
                intake.add(QUrl::fromLocalFile(path));
            intake.add(files.pasted, QStringLiteral("Pasted image.png"));
        }
    };
    return longestDelay(addAll, [&] { return left == 0; });
}

/// What the machine alone does to an event loop beside a thread that decodes and encodes.
Delay delayOfMachine(const Files& files) {
    std::atomic<bool> over = false;
    std::thread thread;
    const auto begin = [&] {
        thread = std::thread([&] {
            packBare(decodeWithQt(files.jpeg));
            packBare(decodeWithLibheif(files.heic));
            over = true;
        });
    };
    const Delay delay = longestDelay(begin, [&] { return over.load(); });
    thread.join();
    return delay;
}

int run(const QString& folder) {
    const QTemporaryDir work(QDir(folder).filePath(QStringLiteral("bench-attachments-XXXXXX")));
    const Files files = makeFiles(QDir(work.path()));
    const bool met =
        printTable({compareKept(files),
                    compareConverted(QStringLiteral("12 megapixels, JPEG"), files.jpeg, decodeWithQt),
                    compareConverted(QStringLiteral("12 megapixels, HEIC"), files.heic, decodeWithLibheif)});
    const Delay machine = delayOfMachine(files);
    const Delay intake = delayOfIntake(files);
    std::printf(
        "\nMedian of %d runs by turns. While eight files are prepared the main thread is late by %.1f ms at "
        "worst (aim: less than %.0f) and computes %.1f ms at a stretch; beside a bare thread of codecs "
        "it is late by %.1f ms.\n",
        runs, intake.late, longestBlock, intake.busy, machine.late);
    return met && intake.late < longestBlock ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    return benchMain(argc, argv, run);
}
