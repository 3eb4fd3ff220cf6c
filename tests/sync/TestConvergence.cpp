#include "Device.h"
#include "LocalService.h"
#include "LogCapture.h"
#include "Pending.h"
#include "RecordCodec.h"
#include "ServiceControl.h"
#include "WaitUntil.h"
#include "WireConversion.h"

#include <QRandomGenerator>
#include <QTest>

#include <array>
#include <map>

using namespace teskal;
using namespace teskal::test;
using namespace std::chrono_literals;

namespace {

using Touch = ChatStore::Touch;
using Save = ChatStore::Save;

ChatMessage message(const QString& id, const QString& content, bool pending = false) {
    ChatMessage made;
    made.id = id;
    made.role = Role::Assistant;
    made.content = content;
    made.pending = pending;
    return made;
}

/// Two devices of one account that do anything in any order, with what must hold at every moment: a device's
/// chat never becomes an older one, an answer that arrives is left alone, and a chat goes only when somebody
/// deleted that version of it or a later one.
class Schedule {
public:
    Schedule(const LocalService& service, ServiceControl& control, quint32 seed)
        : control_(control), random_(seed) {
        const QString token = control.accessToken(QStringLiteral("seed%1@example.org").arg(seed));
        for (auto& device : devices_)
            device = std::make_unique<Device>(service.origin(), token, clock_);
    }

    /// One step; empty, or what went wrong.
    QString step() {
        const int which = below(2);
        Device& device = *devices_[std::size_t(which)];
        isUndisturbed_ = true;
        doSomething(which, device);
        clock_.advance(std::chrono::milliseconds(5 + below(below(4) == 0 ? 4'000 : 50)));
        breathe();
        return check();
    }

    /// Everything ends, and both devices talk until nothing moves. Empty, or what differs.
    QString settle() {
        for (int which = 0; which < 2; ++which) {
            devices_[std::size_t(which)]->isOffline = false;
            endAnswers(which);
            clock_.advance(5ms);
        }
        for (int round = 0; round < 4; ++round) {
            clock_.advance(31s);
            for (auto& device : devices_) {
                device->folders().syncSoon(0ms);
                clock_.advance(5ms);
                if (!waitUntil([&] { return !device->sync().isRunning() && !isExchanging(*device); }))
                    return QStringLiteral("a pass does not end");
            }
            if (const QString problem = check(); !problem.isEmpty())
                return problem;
        }
        return difference();
    }

private:
    int below(int limit) { return int(random_.bounded(quint32(limit))); }
    QString fresh(const QString& what) { return what + QString::number(++made_); }
    static bool isExchanging(Device& device) { return device.folders().exchange().isUnderWay(); }

    std::optional<QString> anyChat(Device& device) {
        if (device.store().count() == 0)
            return std::nullopt;
        return device.store().at(below(device.store().count())).id;
    }
    std::optional<QString> anyFolder(Device& device) {
        const QList<Folder>& folders = device.folders().folders();
        return folders.isEmpty() ? std::nullopt : std::optional(folders[below(int(folders.size()))].id);
    }

    void doSomething(int which, Device& device) {
        const std::optional<QString> chat = anyChat(device);
        switch (below(24)) {
        case 0:
        case 1:
            create(device);
            break;
        case 2:
        case 3:
        case 4:
        case 5:
            if (chat)
                append(device, *chat);
            break;
        case 6:
            if (chat)
                device.store().rename(*chat, fresh(QStringLiteral("title")));
            break;
        case 7:
            if (chat)
                remove(which, device, *chat);
            break;
        case 8:
        case 9:
            if (chat)
                beginAnswer(which, device, *chat);
            break;
        case 10:
        case 11:
            growAnswers(which);
            break;
        case 12:
            endAnswers(which);
            break;
        case 13:
            device.folders().create(fresh(QStringLiteral("folder")));
            break;
        case 14:
            if (const auto folder = anyFolder(device))
                device.folders().rename(*folder, fresh(QStringLiteral("folder")));
            break;
        case 15:
            if (const auto folder = anyFolder(device); folder && below(3) == 0)
                device.folders().remove(*folder);
            break;
        case 16:
        case 17:
            if (const auto folder = anyFolder(device); folder && chat)
                device.folders().assign({*chat}, folder);
            break;
        case 18:
            if (chat)
                device.folders().assign({*chat}, std::nullopt);
            break;
        case 19:
            device.isOffline = below(3) == 0;
            break;
        case 20:
            restart(which, device, below(3) != 0);
            break;
        default:
            device.sync().sync();
            break;
        }
    }

    void create(Device& device) {
        const QString id = device.store().create(fresh(QStringLiteral("chat")));
        device.store().update(id, Touch::Yes, Save::Yes, [&](Chat& chat) {
            ChatMessage question = message(fresh(QStringLiteral("m")), QStringLiteral("question"));
            question.role = Role::User;
            if (below(3) == 0) // one of three pictures, so that chats share them
                question.attachments.append({QStringLiteral("p.png"),
                                             QStringLiteral("image/png"),
                                             QStringLiteral("data:image/png;base64,AAA%1").arg(below(3)),
                                             {},
                                             false});
            chat.messages.append(question);
        });
    }

    void append(Device& device, const QString& id) {
        device.store().update(id, Touch::Yes, Save::Yes, [&](Chat& chat) {
            chat.messages.append(message(fresh(QStringLiteral("m")), QStringLiteral("more")));
        });
    }

    void remove(int which, Device& device, const QString& id) {
        const double at = std::max(clock_.nowMs(), device.store().chat(id)->updatedAt);
        deletions_[id] = std::max(deletions_[id], at);
        answers_[std::size_t(which)].erase(id);
        known_[std::size_t(which)].erase(id);
        device.store().remove(id);
        if (below(4) == 0) // what was deleted stays deleted, even so
            restart(which, device, true);
    }

    void beginAnswer(int which, Device& device, const QString& id) {
        if (answers_[std::size_t(which)].contains(id))
            return;
        const ChatMessage answer = message(fresh(QStringLiteral("a")), QString(), true);
        device.store().update(id, Touch::Yes, Save::Yes, [&](Chat& chat) { chat.messages.append(answer); });
        answers_[std::size_t(which)][id] = answer;
    }

    void growAnswers(int which) {
        for (auto& [id, answer] : answers_[std::size_t(which)]) {
            answer.content += QStringLiteral(" word");
            devices_[std::size_t(which)]->store().updateMessage(
                id, answer.id, Touch::No, Save::No,
                [&text = answer.content](ChatMessage& m) { m.content = text; });
        }
    }

    void endAnswers(int which) {
        for (auto& [id, answer] : answers_[std::size_t(which)])
            devices_[std::size_t(which)]->store().updateMessage(id, answer.id, Touch::Yes, Save::Yes,
                                                                [](ChatMessage& m) { m.pending = false; });
        answers_[std::size_t(which)].clear();
    }

    void restart(int which, Device& device, bool hard) {
        if (hard)
            device.crash();
        else
            device.quit();
        answers_[std::size_t(which)].clear();
        known_[std::size_t(which)].clear();
        device.start();
    }

    /// Lets the network and the files come as far as chance has it.
    void breathe() {
        control_.post(QStringLiteral("clock"), QJsonObject{{QStringLiteral("nowMs"), clock_.nowMs()}});
        switch (below(4)) {
        case 0:
            break;
        case 1:
            for (int turns = below(30); turns > 0; --turns)
                QCoreApplication::processEvents();
            break;
        default:
            isUndisturbed_ = waitUntil(
                [this] { return !devices_[0]->sync().isRunning() && !devices_[1]->sync().isRunning(); });
        }
    }

    QString check() {
        if (!isUndisturbed_)
            return QStringLiteral("a pass does not end");
        for (std::size_t which = 0; which < 2; ++which) {
            ChatStore& store = devices_[which]->store();
            for (const auto& [id, time] : known_[which]) {
                const Chat* chat = store.chat(id);
                if (!chat && !(deletions_.contains(id) && deletions_[id] >= time))
                    return QStringLiteral("device %1 lost chat %2 of %3")
                        .arg(which)
                        .arg(id)
                        .arg(time, 0, 'f', 0);
                if (chat && chat->updatedAt < time)
                    return QStringLiteral("device %1 went back to an older %2").arg(which).arg(id);
            }
            for (const auto& [id, answer] : answers_[which]) {
                const ChatMessage* arriving = store.message(id, answer.id);
                if (!arriving || *arriving != answer)
                    return QStringLiteral("device %1: the answer in %2 was overwritten").arg(which).arg(id);
            }
            known_[which].clear();
            for (int row = 0; row < store.count(); ++row)
                known_[which][store.at(row).id] = store.at(row).updatedAt;
        }
        return {};
    }

    static QByteArray wireText(const Chat& chat) { return encodeRecord(wireChat(chat)); }

    QString difference() {
        ChatStore& first = devices_[0]->store();
        ChatStore& second = devices_[1]->store();
        if (first.count() != second.count())
            return QStringLiteral("%1 and %2 chats").arg(first.count()).arg(second.count());
        const TeskalAPI api = devices_[0]->api();
        const ChatList list = waitFor([&](std::stop_token stop) { return api.listChats(stop); });
        const auto alive = std::count_if(list.chats.cbegin(), list.chats.cend(),
                                         [](const ChatListEntry& entry) { return !entry.deleted; });
        if (alive != first.count())
            return QStringLiteral("the service has %1 chats, the devices %2").arg(alive).arg(first.count());
        for (int row = 0; row < first.count(); ++row) {
            const Chat& chat = first.at(row);
            const Chat* other = second.chat(chat.id);
            if (!other || wireText(*other) != wireText(chat))
                return QStringLiteral("the devices differ in chat %1: %2, %3")
                    .arg(chat.id, QString::fromUtf8(wireText(chat)),
                         other ? QString::fromUtf8(wireText(*other)) : QStringLiteral("none"));
            const auto there = waitFor([&](std::stop_token stop) { return api.getChat(chat.id, stop); });
            if (!there || encodeRecord(*there) != wireText(chat))
                return QStringLiteral("the service differs in chat ") + chat.id;
            if (deletions_.contains(chat.id) && deletions_[chat.id] >= chat.updatedAt)
                return QStringLiteral("deleted chat %1 is back").arg(chat.id);
        }
        const FolderDocument& folders = devices_[0]->folders().document();
        if (folders != devices_[1]->folders().document())
            return QStringLiteral("the devices differ in their folders");
        const FolderSyncReply reply = waitFor(
            [&](std::stop_token stop) { return api.syncFolders(FolderDocument(), std::nullopt, stop); });
        if (!reply.document || *reply.document != folders)
            return QStringLiteral("the service differs in its folders");
        return {};
    }

    ManualClock clock_;
    ServiceControl& control_;
    QRandomGenerator random_;
    std::array<std::unique_ptr<Device>, 2> devices_;
    int made_ = 0;
    bool isUndisturbed_ = true;
    std::map<QString, double> deletions_;                   ///< latest of each chat
    std::array<std::map<QString, double>, 2> known_;        ///< what each device held
    std::array<std::map<QString, ChatMessage>, 2> answers_; ///< that are arriving, by chat
};

} // namespace

/// Two devices of one account end with the same chats and folders, whatever they did and however they ended.
class TestConvergence final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void devicesConverge_data() {
        // TESKAL_SEED=17 repeats one schedule, TESKAL_SEED=1-200 plays many.
        QTest::addColumn<quint32>("seed");
        const QString given = qEnvironmentVariable("TESKAL_SEED", QStringLiteral("1-8"));
        const quint32 last = given.section(QLatin1Char('-'), -1).toUInt();
        for (quint32 seed = given.section(QLatin1Char('-'), 0, 0).toUInt(); seed <= last; ++seed)
            QTest::addRow("seed %u", seed) << seed;
    }
    void devicesConverge() {
        QFETCH(const quint32, seed);
        constexpr int steps = 500;
        const LogCapture log; // being offline is part of it
        Schedule schedule(service_, control_, seed);
        for (int step = 0; step < steps; ++step)
            if (const QString problem = schedule.step(); !problem.isEmpty())
                QFAIL(qPrintable(
                    QStringLiteral("TESKAL_SEED=%1, step %2: %3").arg(seed).arg(step).arg(problem)));
        if (const QString problem = schedule.settle(); !problem.isEmpty())
            QFAIL(qPrintable(QStringLiteral("TESKAL_SEED=%1, at the end: %2").arg(seed).arg(problem)));
    }

private:
    LocalService service_{{QStringLiteral("--access-token-seconds"), QStringLiteral("100000000")}};
    ServiceControl control_{service_};
};

QTEST_GUILESS_MAIN(TestConvergence)
#include "TestConvergence.moc"
