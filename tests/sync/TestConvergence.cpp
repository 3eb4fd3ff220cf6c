#include "RecordCodec.h"
#include "SyncTest.h"

#include <QRandomGenerator>

#include <array>
#include <map>

using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

using Touch = ChatStore::Touch;
using Save = ChatStore::Save;

ChatMessage message(const QString& id, const QString& content, bool pending = false) {
    return {id, Role::Assistant, content, {}, {}, {}, pending, {}, {}};
}

/// One of the two devices, and what may not be lost on it.
struct Peer {
    ChatStore& store() { return device->store(); }
    FolderStore& folders() { return device->folders(); }

    std::unique_ptr<Device> device;
    std::map<QString, double> known;        ///< the chats it held, with their times
    std::map<QString, ChatMessage> answers; ///< that are arriving, by chat
};

/// Two devices of one account that do anything in any order, with what must hold at every moment: a device's
/// chat never becomes an older one, an answer that arrives is left alone, and a chat goes only when somebody
/// deleted that version of it or a later one.
class Schedule {
public:
    Schedule(const LocalService& service, ServiceControl& control, quint32 seed)
        : control_(control), random_(seed) {
        const QString token = control.accessToken(u"seed%1@example.org"_qs.arg(seed));
        for (Peer& peer : peers_)
            peer.device = std::make_unique<Device>(service.origin(), token, clock_);
    }

    /// One step; empty, or what went wrong.
    QString step() {
        isUndisturbed_ = true;
        doSomething(peers_[std::size_t(below(2))]);
        clock_.advance(std::chrono::milliseconds(5 + below(below(4) == 0 ? 4'000 : 50)));
        breathe();
        return check();
    }

    /// Everything ends, and both devices talk until nothing moves. Empty, or what differs.
    QString settle() {
        for (Peer& peer : peers_) {
            peer.device->isOffline = false;
            endAnswers(peer);
            clock_.advance(5ms);
        }
        for (int round = 0; round < 4; ++round) {
            clock_.advance(31s);
            for (Peer& peer : peers_) {
                peer.folders().syncSoon(0ms);
                clock_.advance(5ms);
                if (!waitUntil([&] { return !peer.device->isBusy(); }))
                    return u"a pass does not end"_qs;
            }
            if (const QString problem = check(); !problem.isEmpty())
                return problem;
        }
        return difference();
    }

private:
    int below(int limit) { return int(random_.bounded(quint32(limit))); }
    QString fresh(const QString& what) { return what + QString::number(++made_); }

    void doSomething(Peer& peer) {
        struct Action {
            int weight;
            void (Schedule::*run)(Peer& peer, const QString& chat);
        };
        static constexpr Action actions[] = {
            {2, &Schedule::create},      {4, &Schedule::append},       {1, &Schedule::rename},
            {1, &Schedule::remove},      {2, &Schedule::beginAnswer},  {2, &Schedule::growAnswers},
            {1, &Schedule::endAnswers},  {1, &Schedule::createFolder}, {5, &Schedule::changeFolder},
            {1, &Schedule::loseNetwork}, {1, &Schedule::restart},      {3, &Schedule::sync},
        };
        const int chats = peer.store().count();
        const QString chat = chats == 0 ? QString() : peer.store().at(below(chats)).id;
        const Action* action = actions;
        for (int left = below(24); left >= action->weight; ++action) // 24 is the sum of the weights
            left -= action->weight;
        (this->*action->run)(peer, chat);
    }

    // \a chat is any of the device's, and empty when it has none.
    void create(Peer& peer, const QString&) {
        const QString id = peer.store().create(fresh(u"chat"_qs));
        peer.store().update(id, Touch::Yes, Save::Yes, [&](Chat& chat) {
            ChatMessage question = message(fresh(u"m"_qs), u"question"_qs);
            question.role = Role::User;
            if (below(3) == 0) // one of three pictures, so that chats share them
                question.attachments.append(fileOf(u"image/png"_qs, u"AAA%1"_qs.arg(below(3))));
            chat.messages.append(question);
        });
    }

    void append(Peer& peer, const QString& id) {
        peer.store().update(id, Touch::Yes, Save::Yes,
                            [&](Chat& chat) { chat.messages.append(message(fresh(u"m"_qs), u"more"_qs)); });
    }

    void rename(Peer& peer, const QString& id) { peer.store().rename(id, fresh(u"title"_qs)); }

    void remove(Peer& peer, const QString& id) {
        if (id.isEmpty())
            return;
        const double at = std::max(clock_.nowMs(), peer.store().chat(id)->updatedAt);
        deletions_[id] = std::max(deletions_[id], at);
        peer.answers.erase(id);
        peer.known.erase(id);
        peer.store().remove(id);
        if (below(4) == 0) // what was deleted stays deleted, even so
            restart(peer, true);
    }

    void beginAnswer(Peer& peer, const QString& id) {
        if (id.isEmpty() || peer.answers.contains(id))
            return;
        const ChatMessage answer = message(fresh(u"a"_qs), QString(), true);
        peer.store().update(id, Touch::Yes, Save::Yes, [&](Chat& chat) { chat.messages.append(answer); });
        peer.answers[id] = answer;
    }

    void growAnswers(Peer& peer, const QString&) {
        for (auto& [id, answer] : peer.answers) {
            answer.content += u" word"_qs;
            peer.store().updateMessage(id, answer.id, Touch::No, Save::No,
                                       [&text = answer.content](ChatMessage& m) { m.content = text; });
        }
    }

    void endAnswers(Peer& peer, const QString& = {}) {
        for (auto& [id, answer] : peer.answers)
            peer.store().updateMessage(id, answer.id, Touch::Yes, Save::Yes,
                                       [](ChatMessage& m) { m.pending = false; });
        peer.answers.clear();
    }

    void createFolder(Peer& peer, const QString&) { peer.folders().create(fresh(u"folder"_qs)); }

    void changeFolder(Peer& peer, const QString& chat) {
        const QList<Folder>& folders = peer.folders().folders();
        if (folders.isEmpty())
            return;
        const QString folder = folders[below(int(folders.size()))].id;
        const int what = below(15);
        if (what < 3)
            peer.folders().rename(folder, fresh(u"folder"_qs));
        else if (what == 3)
            peer.folders().remove(folder);
        else if (!chat.isEmpty())
            peer.folders().assign({chat}, what < 12 ? std::optional(folder) : std::nullopt);
    }

    void loseNetwork(Peer& peer, const QString&) { peer.device->isOffline = below(3) == 0; }
    void restart(Peer& peer, const QString&) { restart(peer, below(3) != 0); }
    void sync(Peer& peer, const QString&) { peer.device->sync().sync(); }

    void restart(Peer& peer, bool hard) {
        hard ? peer.device->crash() : peer.device->quit();
        peer.answers.clear();
        peer.known.clear();
        peer.device->start();
    }

    /// Lets the network and the files come as far as chance has it.
    void breathe() {
        control_.post(u"clock"_qs, QJsonObject{{u"nowMs"_qs, clock_.nowMs()}});
        const int how = below(4);
        for (int turns = how == 1 ? below(30) : 0; turns > 0; --turns)
            QCoreApplication::processEvents();
        if (how > 1)
            isUndisturbed_ = waitUntil([this] {
                return !peers_[0].device->sync().isRunning() && !peers_[1].device->sync().isRunning();
            });
    }

    QString check() {
        if (!isUndisturbed_)
            return u"a pass does not end"_qs;
        for (Peer& peer : peers_) {
            ChatStore& store = peer.store();
            const QString device = &peer == &peers_[0] ? u"the first device"_qs : u"the second device"_qs;
            for (const auto& [id, time] : peer.known) {
                const Chat* chat = store.chat(id);
                if (!chat && !(deletions_.contains(id) && deletions_[id] >= time))
                    return u"%1 lost chat %2 of %3"_qs.arg(device, id).arg(time, 0, 'f', 0);
                if (chat && chat->updatedAt < time)
                    return u"%1 went back to an older %2"_qs.arg(device, id);
            }
            for (const auto& [id, answer] : peer.answers) {
                const ChatMessage* arriving = store.message(id, answer.id);
                if (!arriving || *arriving != answer)
                    return u"%1: the answer in %2 was overwritten"_qs.arg(device, id);
            }
            peer.known.clear();
            for (int row = 0; row < store.count(); ++row)
                peer.known[store.at(row).id] = store.at(row).updatedAt;
        }
        return {};
    }

    static QByteArray wireText(const Chat& chat) { return encodeRecord(wireChat(chat)); }

    QString difference() {
        ChatStore& first = peers_[0].store();
        ChatStore& second = peers_[1].store();
        if (first.count() != second.count())
            return u"%1 and %2 chats"_qs.arg(first.count()).arg(second.count());
        Device& device = *peers_[0].device;
        if (const auto there = device.listed().size(); there != first.count())
            return u"the service has %1 chats, the devices %2"_qs.arg(there).arg(first.count());
        for (int row = 0; row < first.count(); ++row) {
            const Chat& chat = first.at(row);
            const Chat* other = second.chat(chat.id);
            if (!other || wireText(*other) != wireText(chat))
                return u"the devices differ in chat %1: %2, %3"_qs.arg(
                    chat.id, QString::fromUtf8(wireText(chat)),
                    other ? QString::fromUtf8(wireText(*other)) : u"none"_qs);
            const auto there = device.fetched(chat.id);
            if (!there || encodeRecord(*there) != wireText(chat))
                return u"the service differs in chat "_qs + chat.id;
            if (deletions_.contains(chat.id) && deletions_[chat.id] >= chat.updatedAt)
                return u"deleted chat %1 is back"_qs.arg(chat.id);
        }
        const FolderDocument& folders = peers_[0].folders().document();
        if (folders != peers_[1].folders().document())
            return u"the devices differ in their folders"_qs;
        const TeskalAPI api = device.api();
        const FolderSyncReply reply = waitFor(
            [&](std::stop_token stop) { return api.syncFolders(FolderDocument(), std::nullopt, stop); });
        if (!reply.document || *reply.document != folders)
            return u"the service differs in its folders"_qs;
        return {};
    }

    ManualClock clock_;
    ServiceControl& control_;
    QRandomGenerator random_;
    std::array<Peer, 2> peers_;
    int made_ = 0;
    bool isUndisturbed_ = true;
    std::map<QString, double> deletions_; ///< latest of each chat
};

} // namespace

/// Two devices of one account end with the same chats and folders, whatever they did and however they ended.
class TestConvergence final : public SyncTest {
    Q_OBJECT
private Q_SLOTS:
    void devicesConverge_data() {
        // TESKAL_SEED=17 repeats one schedule, TESKAL_SEED=1-200 plays many.
        QTest::addColumn<quint32>("seed");
        const QString given = qEnvironmentVariable("TESKAL_SEED", u"1-8"_qs);
        const quint32 last = given.section(u'-', -1).toUInt();
        for (quint32 seed = given.section(u'-', 0, 0).toUInt(); seed <= last; ++seed)
            QTest::addRow("seed %u", seed) << seed;
    }
    void devicesConverge() {
        QFETCH(const quint32, seed);
        constexpr int steps = 500;
        const LogCapture log; // being offline is part of it
        Schedule schedule(service_, control_, seed);
        for (int step = 0; step < steps; ++step)
            if (const QString problem = schedule.step(); !problem.isEmpty())
                QFAIL(qPrintable(u"TESKAL_SEED=%1, step %2: %3"_qs.arg(seed).arg(step).arg(problem)));
        if (const QString problem = schedule.settle(); !problem.isEmpty())
            QFAIL(qPrintable(u"TESKAL_SEED=%1, at the end: %2"_qs.arg(seed).arg(problem)));
    }
};

QTEST_GUILESS_MAIN(TestConvergence)
#include "TestConvergence.moc"
