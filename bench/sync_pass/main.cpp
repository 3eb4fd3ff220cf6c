// History sync of a large account with the local service: the first upload of everything, and a pass that
// finds nothing new. Usage: bench_sync_pass [folder for the files, default: the system's temporary one]

#include "BareUpload.h"
#include "BenchMain.h"
#include "ChatGenerator.h"
#include "ChatSync.h"
#include "Comparison.h"
#include "LocalService.h"
#include "Measure.h"
#include "RecordCodec.h"
#include "ServiceControl.h"
#include "SystemClock.h"
#include "WaitUntil.h"
#include "WireConversion.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <QTemporaryDir>

#include <cstdio>
#include <ctime>
#include <stdexcept>

using namespace teskal;
using namespace teskal::bench;
using namespace std::chrono_literals;

namespace {

constexpr int chatCount = 5'000;
constexpr int uploads = 3;
constexpr int passes = 21;
constexpr double quietBudget = 5; ///< ms

QList<Chat> makeChats() {
    ChatGenerator generator;
    QList<Chat> chats;
    for (int i = 0; i < chatCount; ++i) {
        Chat chat = generator.chat();
        chat.updatedAt = 1'700'000'000'000.0 - i;
        for (ChatMessage& message : chat.messages)
            message.attachments.clear(); // files go by requests of their own
        chats.append(chat);
    }
    return chats;
}

QList<QByteArray> bodiesOf(const QList<Chat>& chats) {
    QList<QByteArray> bodies;
    for (const Chat& chat : chats)
        bodies.append("{\"chat\":" + encodeRecord(wireChat(chat)) + "}");
    return bodies;
}

double threadMilliseconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1e3 + double(time.tv_nsec) / 1e6;
}

/// A service without accounts, and who signs in to it.
class Far {
public:
    QString signIn() {
        control_.post(
            QStringLiteral("consent"),
            QJsonObject{{QStringLiteral("email"), QStringLiteral("u%1@example.org").arg(++accounts_)}});
        return control_.accessToken();
    }
    QUrl origin() const { return service_.origin(); }
    QUrl chats() const { return service_.url(QStringLiteral("/api/chats")); }
    qsizetype requests() { return control_.requests(QStringLiteral("/api")).size(); }
    void forgetRequests() { control_.post(QStringLiteral("reset"), QJsonObject()); }

private:
    test::LocalService service_;
    test::ServiceControl control_{service_};
    int accounts_ = 0;
};

QCoro::Task<QString> given(QString token) {
    co_return token;
}

/// A device that holds the chats and has sent none of them.
class Near {
public:
    Near(const QString& folder, const QList<Chat>& chats, Far& far)
        : folder_(folder), store_(folder, clock_), sync_(folder, store_, clock_) {
        QDir().mkpath(folder);
        QFile file(folder + QStringLiteral("/account.json"));
        if (!file.open(QFile::WriteOnly) || file.write(encodeChats(chats)) < 0)
            throw std::runtime_error("could not write the chats");
        file.close();
        const QString account = QStringLiteral("account");
        const QString token = far.signIn();
        store_.claim(account);
        sync_.claim(account, TeskalAPI(
                                 far.origin(), [token](std::stop_token) { return given(token); }, http_,
                                 clock_, QStringLiteral("1")));
    }

    void pass() {
        sync_.sync();
        if (!test::waitUntil([this] { return !sync_.isRunning(); }, 120s))
            throw std::runtime_error("a pass does not end");
    }
    QDateTime stateWritten() {
        sync_.flush();
        return QFileInfo(folder_ + QStringLiteral("/account.sync.json")).lastModified();
    }

private:
    QString folder_;
    SystemClock clock_;
    HttpSession http_{clock_};
    ChatStore store_;
    ChatSync sync_;
};

struct Measured {
    Comparison upload;
    std::unique_ptr<Near> device; ///< that has sent everything
};

Measured measureUpload(const QString& folder, const QList<Chat>& chats, Far& far) {
    const QList<QByteArray> bodies = bodiesOf(chats);
    qint64 bytes = 0;
    for (const QByteArray& body : bodies)
        bytes += body.size();
    std::unique_ptr<Near> device;
    std::vector<double> ours;
    std::vector<double> bare;
    for (int run = 0; run < uploads; ++run) {
        device = std::make_unique<Near>(folder + QStringLiteral("/device%1").arg(run), chats, far);
        ours.push_back(millisecondsOf([&] {
            device->pass();
            return 0;
        }));
        const QString token = far.signIn();
        bare.push_back(millisecondsOf([&] {
            putAll(far.chats(), token, bodies);
            return 0;
        }));
        far.forgetRequests();
    }
    std::sort(ours.begin(), ours.end());
    std::sort(bare.begin(), bare.end());
    return {{QStringLiteral("first upload of 5,000 chats"), QStringLiteral("a bare loop of the same PUTs"),
             bare[uploads / 2], ours[uploads / 2], bytes, 2},
            std::move(device)};
}

Comparison measureQuietPass(Near& device, Far& far) {
    device.pass();
    const QDateTime written = device.stateWritten();
    far.forgetRequests();
    std::vector<double> times;
    for (int run = 0; run < passes; ++run) {
        const double begin = threadMilliseconds();
        device.pass();
        times.push_back(threadMilliseconds() - begin);
    }
    if (far.requests() != passes)
        throw std::runtime_error("a pass that finds nothing new makes more than one request");
    if (device.stateWritten() != written)
        throw std::runtime_error("a pass that finds nothing new writes");
    std::sort(times.begin(), times.end());
    return {QStringLiteral("pass that finds nothing new: the main thread's work"),
            QStringLiteral("5 ms"),
            quietBudget,
            times[passes / 2],
            0,
            1};
}

int run(const QString& folder) {
    const QTemporaryDir work(QDir(folder).filePath(QStringLiteral("bench-sync-pass-XXXXXX")));
    Far far;
    const QList<Chat> chats = makeChats();
    Measured measured = measureUpload(work.path(), chats, far);
    const Comparison quiet = measureQuietPass(*measured.device, far);
    const bool met = printTable({measured.upload, quiet});
    std::printf(
        "\n%.0f chats a second go up. Medians of %d uploads by turns and of %d quiet passes, each one "
        "request and no write.\n",
        chatCount / measured.upload.oursMs * 1000, uploads, passes);
    return met ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    return benchMain(argc, argv, run);
}
