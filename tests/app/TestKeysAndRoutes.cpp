#include "RouteRows.h"
#include "World.h"

#include <QJsonDocument>
#include <QTest>

using namespace teskal;
using namespace teskal::test;

namespace {

const QString keysPath = QStringLiteral("/api/keys");
const QString poolPath = QStringLiteral("/api/routes");

QJsonObject refusal(const QString& path, const QString& method) {
    return {{QStringLiteral("path"), path},
            {QStringLiteral("method"), method},
            {QStringLiteral("status"), 500},
            {QStringLiteral("json"), QJsonObject{{QStringLiteral("error"), QStringLiteral("Not today.")}}}};
}

bool settled(const ApiKeys& keys) {
    return waitUntil([&] {
        return !keys.isLoading() && !keys.isCreating() &&
               (keys.keys().isEmpty() || !keys.isRevoking(keys.keys().first().id));
    });
}

QStringList names(const ApiKeys& keys) {
    QStringList names;
    for (const APIKey& key : keys.keys())
        names.append(key.name);
    return names;
}

ChatMessage answer(const QString& id, const std::optional<QString>& routeJson) {
    ChatMessage message;
    message.id = id;
    message.role = Role::Assistant;
    message.content = QStringLiteral("An answer");
    if (routeJson)
        message.route = JSONValue::fromAny(QJsonDocument::fromJson(routeJson->toUtf8()).toVariant());
    return message;
}

} // namespace

/// The account's keys and the pool of models against the service, and the list of routes.
class TestKeysAndRoutes final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void keyLives();
    void failuresAreTold_data();
    void failuresAreTold();
    void listAskedBeforeRevokingBringsNothingBack();
    void secretWaitsForTheSheet();
    void nothingOutlivesTheSession();
    void pool();
    void routes();
};

void TestKeysAndRoutes::keyLives() {
    World world;
    AppModel& model = world.model();
    model.loadKeys();
    model.createKey(QStringLiteral("nobody's"));
    QVERIFY(!model.keys().isLoading() && !model.keys().isCreating());
    world.signIn();
    model.setSheet(Sheet::Keys);
    model.loadKeys();
    QVERIFY(settled(model.keys()));
    QVERIFY(model.keys().isKnown() && model.keys().isEnabled() && model.keys().keys().isEmpty());

    model.createKey(QStringLiteral("  "));
    model.createKey(QStringLiteral("a second one at the same time"));
    QVERIFY(settled(model.keys()));
    QCOMPARE(names(model.keys()), QStringList{QStringLiteral("Default")});
    const QString secret = model.keys().secret();
    QVERIFY(secret.startsWith(model.keys().keys().first().prefix));
    model.setSheet(std::nullopt);
    QCOMPARE(model.keys().secret(), QString());

    model.createKey(QStringLiteral("production"));
    QVERIFY(settled(model.keys()));
    QCOMPARE(model.keys().keys().size(), 2);
    model.revokeKey(model.keys().keys().first().id);
    QVERIFY(waitUntil([&] { return model.keys().keys().size() == 1; }));
    QVERIFY(settled(model.keys()));
    QCOMPARE(model.keys().keys().size(), 1);
}

void TestKeysAndRoutes::failuresAreTold_data() {
    QTest::addColumn<QString>("method");
    QTest::newRow("list") << QStringLiteral("GET");
    QTest::newRow("create") << QStringLiteral("POST");
    QTest::newRow("revoke") << QStringLiteral("DELETE");
}

void TestKeysAndRoutes::failuresAreTold() {
    QFETCH(const QString, method);
    World world;
    AppModel& model = world.model();
    world.signIn();
    model.createKey(QStringLiteral("production"));
    QVERIFY(settled(model.keys()));
    world.control.next(refusal(keysPath, method));
    if (method == QLatin1String("GET"))
        model.loadKeys();
    else if (method == QLatin1String("POST"))
        model.createKey(QStringLiteral("another"));
    else
        model.revokeKey(model.keys().keys().first().id);
    QVERIFY(settled(model.keys()));
    QCOMPARE(model.keys().error(), QStringLiteral("Not today."));
    QCOMPARE(names(model.keys()), QStringList{QStringLiteral("production")});
}

void TestKeysAndRoutes::listAskedBeforeRevokingBringsNothingBack() {
    World world;
    AppModel& model = world.model();
    world.signIn();
    model.createKey(QStringLiteral("production"));
    QVERIFY(settled(model.keys()));
    QVERIFY(world.control.wait(keysPath, QStringLiteral("finished"), 2));
    const APIKey key = model.keys().keys().first();
    world.control.next(
        {{QStringLiteral("path"), keysPath},
         {QStringLiteral("method"), QStringLiteral("GET")},
         {QStringLiteral("delayMs"), 400},
         {QStringLiteral("json"),
          QJsonObject{{QStringLiteral("enabled"), true},
                      {QStringLiteral("keys"),
                       QJsonArray{QJsonObject{{QStringLiteral("id"), key.id},
                                              {QStringLiteral("name"), key.name},
                                              {QStringLiteral("prefix"), key.prefix},
                                              {QStringLiteral("createdAt"), key.createdAt}}}}}}});
    model.loadKeys();
    QVERIFY(world.control.wait(keysPath, QStringLiteral("received"), 3)); // not the list asked for after it
    model.revokeKey(key.id);
    QVERIFY(waitUntil([&] { return model.keys().keys().isEmpty(); }));
    QVERIFY(world.control.wait(keysPath, QStringLiteral("finished"), 5));
    QVERIFY(settled(model.keys()));
    QVERIFY(model.keys().keys().isEmpty());
}

void TestKeysAndRoutes::secretWaitsForTheSheet() {
    World world;
    AppModel& model = world.model();
    world.signIn();
    model.setSheet(Sheet::Keys);
    world.control.hold(keysPath);
    model.createKey(QStringLiteral("production"));
    QVERIFY(world.control.wait(keysPath, QStringLiteral("held")));
    model.setSheet(std::nullopt);
    world.control.releaseAll();
    QVERIFY(settled(model.keys()));
    QVERIFY2(!model.keys().secret().isEmpty(), "nobody would ever see it");
}

void TestKeysAndRoutes::nothingOutlivesTheSession() {
    World world;
    AppModel& model = world.model();
    world.signIn();
    model.createKey(QStringLiteral("production"));
    model.loadPool();
    QVERIFY(settled(model.keys()) && waitUntil([&] { return !model.pool().isLoading(); }));
    world.control.hold(keysPath);
    world.control.hold(poolPath);
    model.loadKeys();
    model.createKey(QStringLiteral("another"));
    model.revokeKey(model.keys().keys().first().id);
    model.loadPool();
    QVERIFY(world.control.wait(keysPath, QStringLiteral("held"), 3));
    QVERIFY(world.control.wait(poolPath, QStringLiteral("held")));
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

void TestKeysAndRoutes::pool() {
    World world;
    AppModel& model = world.model();
    model.loadPool();
    QVERIFY(!model.pool().isLoading());
    world.signIn();
    world.control.next({{QStringLiteral("path"), poolPath}, {QStringLiteral("drop"), true}});
    model.loadPool();
    QVERIFY(waitUntil([&] { return !model.pool().isLoading(); }));
    QCOMPARE(model.pool().error(), QStringLiteral("You’re offline. Check your connection and try again."));
    world.control.next({{QStringLiteral("path"), poolPath}, {QStringLiteral("json"), QJsonArray()}});
    model.loadPool();
    QVERIFY(waitUntil([&] { return !model.pool().isLoading(); }));
    QCOMPARE(model.pool().error(),
             QStringLiteral("Teskal sent something this app doesn’t understand yet. Update the app."));
    model.loadPool();
    QVERIFY(waitUntil([&] { return !model.pool().isLoading(); }));
    QCOMPARE(model.pool().error(), QString());
    QCOMPARE(model.pool().models().first().name, QStringLiteral("Model One"));
}

void TestKeysAndRoutes::routes() {
    QTemporaryDir folder;
    SystemClock clock;
    ChatStore store(folder.path(), clock);
    store.claim(QStringLiteral("someone"));
    QVERIFY(routeRows(store).isEmpty());
    const auto chat = [&](const QString& id, double time, const QList<ChatMessage>& messages) {
        Chat made;
        made.id = id;
        made.createdAt = made.updatedAt = time;
        made.messages = messages;
        store.upsertQuiet(made);
    };
    ChatMessage question;
    question.id = QStringLiteral("q");
    question.content = QStringLiteral("?");
    ChatMessage pending = answer(QStringLiteral("p"), QStringLiteral(R"({"name":"Not yet"})"));
    pending.pending = true;
    ChatMessage failed = answer(QStringLiteral("f"), QStringLiteral(R"({"name":"Not at all"})"));
    failed.content.clear();
    failed.error = MessageError{std::nullopt, QStringLiteral("No.")};
    chat(QStringLiteral("old"), 1,
         {question, answer(QStringLiteral("a"), QStringLiteral(R"({"model":"x/one"})"))});
    chat(QStringLiteral("new"), 2,
         {question,
          answer(QStringLiteral("1"),
                 QStringLiteral(R"({"name":"First","model":"x/1","task":"code","decision":{"credits":3}})")),
          answer(QStringLiteral("2"), std::nullopt), answer(QStringLiteral("3"), QStringLiteral("[7]")),
          answer(QStringLiteral("4"),
                 QStringLiteral(R"({"name":"Last","task":7,"decision":{"credits":"many"}})")),
          failed, pending});
    const QList<RouteRow> expected{{QStringLiteral("Last"), {}, std::nullopt},
                                   {QStringLiteral("First"), QStringLiteral("code"), 3},
                                   {QStringLiteral("x/one"), {}, std::nullopt}};
    QCOMPARE(routeRows(store), expected);
}

QTEST_GUILESS_MAIN(TestKeysAndRoutes)
#include "TestKeysAndRoutes.moc"
