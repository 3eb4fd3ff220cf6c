// Reading and writing a file of chats, beside QJsonDocument, the parser's bare work and what no code can
// avoid. Usage: bench_chat_codec [folder for the files, default: the system's temporary one]

#include "BenchMain.h"
#include "Chat.h"
#include "ChatGenerator.h"
#include "Comparison.h"
#include "GenericCodec.h"
#include "Measure.h"
#include "PeakMemory.h"
#include "ReadFloor.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <simdjson.h>

#include <cstdio>
#include <stdexcept>

using namespace teskal;
using namespace teskal::bench;

namespace {

constexpr int runs = 5;
constexpr int chatCount = 5'000;

/// A file mapped into memory for as long as this lives.
class MappedFile {
public:
    explicit MappedFile(const QString& path) : file_(path) {
        if (!file_.open(QIODevice::ReadOnly))
            throw std::runtime_error("could not open " + path.toStdString());
        bytes_ = QByteArrayView(file_.map(0, file_.size()), file_.size());
    }
    QByteArrayView bytes() const { return bytes_; }

private:
    QFile file_;
    QByteArrayView bytes_;
};

QList<Chat> generate() {
    ChatGenerator generator;
    QList<Chat> chats;
    for (int i = 0; i < chatCount; ++i)
        chats.append(generator.chat());
    return chats;
}

int printPeak(const QString& path) {
    const PeakMemory peak;
    const MappedFile file(path);
    const QList<Chat> chats = decodeChats(file.bytes());
    std::printf("%lld\n", static_cast<long long>(peak.growth()));
    return chats.isEmpty() ? 2 : 0;
}

simdjson::error_code parseBare(QByteArrayView json) {
    simdjson::dom::parser parser;
    return parser.parse(json.data(), std::size_t(json.size())).error();
}

QList<Comparison> measureReading(const QString& path) {
    const qint64 bytes = QFile(path).size();
    const ReadFloor floor(decodeChats(MappedFile(path).bytes()));
    const auto [ours, generic, bare, least] = mediansByTurns(
        runs, [&] { return decodeChats(MappedFile(path).bytes()); },
        [&] { return decodeWithQJsonDocument(MappedFile(path).bytes()); },
        [&] { return parseBare(MappedFile(path).bytes()); },
        [&] { return floor.run(MappedFile(path).bytes()); });
    const QString what = QStringLiteral("read (decodeChats)");
    return {{what, QStringLiteral("read, check UTF-8, copy the texts"), least, ours, bytes, 2.2},
            {what, QStringLiteral("simdjson's bare parse"), bare, ours, bytes, 0},
            {what, QStringLiteral("QJsonDocument into the same records"), generic, ours, bytes, 0.25}};
}

QList<Comparison> measureWriting(const QList<Chat>& chats) {
    const qint64 bytes = encodeChats(chats).size();
    const auto [encode, generic] = mediansByTurns(
        runs, [&] { return encodeChats(chats); }, [&] { return encodeWithQJsonDocument(chats); });
    return {{QStringLiteral("encode"), QStringLiteral("QJsonDocument"), generic, encode, bytes, 0}};
}

void writeAndCheck(const QList<Chat>& chats, const QString& path) {
    QFile file(path);
    const QByteArray json = encodeChats(chats);
    if (!file.open(QIODevice::WriteOnly) || file.write(json) != json.size())
        throw std::runtime_error("could not write " + path.toStdString());
    file.close();
    if (decodeWithQJsonDocument(MappedFile(path).bytes()) != chats ||
        decodeChats(MappedFile(path).bytes()) != chats)
        throw std::runtime_error("what was read is not what was written");
}

int run(const QString& folder) {
    QTemporaryDir work(QDir(folder).filePath(QStringLiteral("bench-chat-codec-XXXXXX")));
    const QString path = work.filePath(QStringLiteral("chats.json"));
    writeAndCheck(generate(), path);
    // Chats that were read, not made: an application saves what it has loaded.
    const QList<Comparison> writing = measureWriting(decodeChats(MappedFile(path).bytes()));
    const qint64 peak = measurePeak(path);
    const bool met = printTable(measureReading(path) + writing);
    // The mapped file counts as resident, but its pages are clean: the system takes them back when it must.
    const double times = double(peak) / double(QFile(path).size());
    std::printf("\n%d chats, median of %d runs by turns, each begun with an empty heap. Reading needs %.2f "
                "times the file at "
                "most, %.2f without the mapped file itself (aim: less than 3).\n",
                chatCount, runs, times, times - 1);
    return met && times - 1 < 3 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    return benchMain(argc, argv, run, printPeak);
}
