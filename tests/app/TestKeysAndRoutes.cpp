#include "Columns.h"
#include "RouteRows.h"
#include "World.h"

#include <QJsonDocument>

using namespace teskal::test;

namespace {

const QString keysPath = u"/api/keys"_qs;
const QString poolPath = u"/api/routes"_qs;

bool settled(const ApiKeys& keys) {
    return waitUntil([&] {
        return !keys.isLoading() && !keys.isCreating() &&
               (keys.keys().isEmpty() || !keys.isRevoking(keys.keys().first().id));
    });
}

ChatMessage answer(const QString& id, const char* routeJson = nullptr) {
    ChatMessage message;
    message.id = id;
    message.role = Role::Assistant;
    message.content = u"An answer"_qs;
    if (routeJson)
        message.route = JSONValue::fromAny(QJsonDocument::fromJson(routeJson).toVariant());
    return message;
}

} // namespace

/// The account's keys and the pool of models against the service, and the list of routes.
class TestKeysAndRoutes final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void listAskedBeforeRevokingBringsNothingBack() {
        SignedInWorld world;
        AppModel& model = world.model();
        model.createKey(u"  "_qs);
        model.createKey(u"a second one at the same time"_qs);
        QVERIFY(settled(model.keys()));
        QVERIFY(world.control.wait(keysPath, u"finished"_qs, 2));
        QCOMPARE(model.keys().keys().size(), 1);
        const APIKey key = model.keys().keys().first();
        QCOMPARE(key.name, u"Default"_qs);
        const QJsonObject listed{{u"id"_qs, key.id},
                                 {u"name"_qs, key.name},
                                 {u"prefix"_qs, key.prefix},
                                 {u"createdAt"_qs, key.createdAt}};
        const QJsonObject list{{u"enabled"_qs, true}, {u"keys"_qs, QJsonArray{listed}}};
        world.control.next(
            {{u"path"_qs, keysPath}, {u"method"_qs, u"GET"_qs}, {u"delayMs"_qs, 400}, {u"json"_qs, list}});
        model.loadKeys();
        QVERIFY(world.control.wait(keysPath, u"received"_qs, 3)); // not the list asked for after it
        model.revokeKey(key.id);
        QVERIFY(waitUntil([&] { return model.keys().keys().isEmpty(); }));
        QVERIFY(world.control.wait(keysPath, u"finished"_qs, 5));
        QVERIFY(settled(model.keys()));
        QVERIFY(model.keys().keys().isEmpty());
    }

    void secretWaitsForTheSheet() {
        SignedInWorld world;
        AppModel& model = world.model();
        model.setSheet(Sheet::Keys);
        world.control.hold(keysPath);
        model.createKey(u"production"_qs);
        QVERIFY(world.control.wait(keysPath, u"held"_qs));
        model.setSheet(std::nullopt);
        world.control.releaseAll();
        QVERIFY(settled(model.keys()));
        QVERIFY2(!model.keys().secret().isEmpty(), "nobody would ever see it");
    }

    void nothingOutlivesTheSession() {
        SignedInWorld world;
        AppModel& model = world.model();
        model.createKey(u"production"_qs);
        model.loadPool();
        QVERIFY(settled(model.keys()) && waitUntil([&] { return !model.pool().isLoading(); }));
        world.control.hold(keysPath);
        world.control.hold(poolPath);
        model.loadKeys();
        model.createKey(u"another"_qs);
        model.revokeKey(model.keys().keys().first().id);
        model.loadPool();
        QVERIFY(world.control.wait(keysPath, u"held"_qs, 3));
        QVERIFY(world.control.wait(poolPath, u"held"_qs));
        model.signOut();
        const ApiKeys& keys = model.keys();
        const auto isBlank = [&] {
            return keys.keys().isEmpty() && !keys.isKnown() && !keys.isLoading() && !keys.isCreating() &&
                   keys.secret().isEmpty() && keys.error().isEmpty() && model.pool().models().isEmpty() &&
                   !model.pool().isLoading();
        };
        QVERIFY(isBlank());
        world.control.releaseAll();
        world.signIn(); // behind whatever was left
        QVERIFY(isBlank());
        model.loadKeys();
        world.quit(); // in the middle of it
        world.launch();
    }

    void routes() {
        QTemporaryDir folder;
        SystemClock clock;
        ChatStore store(folder.path(), clock);
        store.claim(u"someone"_qs);
        QVERIFY(routeRows(store).isEmpty());
        const auto chat = [&](const QString& id, double time, const QList<ChatMessage>& messages) {
            Chat made;
            made.id = id;
            made.createdAt = made.updatedAt = time;
            made.messages = messages;
            store.upsertQuiet(made);
        };
        ChatMessage question;
        question.id = u"q"_qs;
        question.content = u"?"_qs;
        ChatMessage pending = answer(u"p"_qs, R"({"name":"Not yet"})");
        pending.pending = true;
        ChatMessage failed = answer(u"f"_qs, R"({"name":"Not at all"})");
        failed.content.clear();
        failed.error = MessageError{std::nullopt, u"No."_qs};
        chat(u"old"_qs, 1, {question, answer(u"a"_qs, R"({"model":"x/one"})")});
        chat(u"new"_qs, 2,
             {question,
              answer(u"1"_qs, R"({"name":"First","model":"x/1","task":"code","decision":{"credits":3}})"),
              answer(u"2"_qs), answer(u"3"_qs, "[7]"),
              answer(u"4"_qs, R"({"name":"Last","task":7,"decision":{"credits":"many"}})"), failed, pending});
        const QList<RouteRow> expected{
            {u"Last"_qs, {}, std::nullopt}, {u"First"_qs, u"code"_qs, 3}, {u"x/one"_qs, {}, std::nullopt}};
        QCOMPARE(routeRows(store), expected);
    }
};

QTEST_GUILESS_MAIN(TestKeysAndRoutes)
#include "TestKeysAndRoutes.moc"
