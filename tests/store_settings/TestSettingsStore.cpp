#include "Columns.h"
#include "SettingsStore.h"

#include "DisabledModels.h"
#include "ManualClock.h"
#include "RawHttpServer.h"
#include "ReadyToken.h"
#include "WaitUntil.h"

using namespace teskal::test;

namespace {

QStringList words(const char* text) {
    return QString::fromLatin1(text).split(u' ', Qt::SkipEmptyParts);
}

ModelOption option(const char* ids) {
    ModelOption model;
    model.ids = words(ids);
    return model;
}

QByteArray settingsJson(bool anonymize, const QByteArray& disabled) {
    const QByteArray list = disabled.isEmpty() ? "" : '"' + QByteArray(disabled).replace(" ", "\",\"") + '"';
    return QByteArray("{\"anonymize\":") + (anonymize ? "true" : "false") + ",\"disabledModels\":[" + list +
           "]}";
}

QByteArray loadJson(bool anonymize, const char* disabled) {
    return R"({"models": [{"id": "o", "ids": ["a", "b"], "name": "O", "kind": "text"}], "anonymizeCredits": 2,
               "settings": )" +
           settingsJson(anonymize, disabled) + "}";
}

QByteArray savedJson(bool anonymize, const char* disabled) {
    return R"({"settings": )" + settingsJson(anonymize, disabled) + "}";
}

/// A reply whose body is held back until the server proceeds this many times.
RawReply held(const QByteArray& body, int times = 1) {
    RawReply reply = RawReply::head(200, "Content-Length: " + QByteArray::number(body.size()) + "\r\n");
    for (int i = 0; i < times; ++i)
        reply.pause();
    return reply.send(body);
}

QCoro::Task<QString> refusedToken() {
    throw Error(u"Sign in again."_qs);
    co_return QString();
}

} // namespace

/// The settings store over a scripted service.
class TestSettingsStore final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() {
        server_ = std::make_unique<RawHttpServer>();
        store_ = std::make_unique<SettingsStore>();
        told_.clear();
        const auto note = [this](const char* name) {
            return [this, name] { told_.append(QString::fromLatin1(name)); };
        };
        connect(store_.get(), &SettingsStore::settingsChanged, this, note("settings"));
        connect(store_.get(), &SettingsStore::modelsChanged, this, note("models"));
        connect(store_.get(), &SettingsStore::loadingChanged, this, note("loading"));
        connect(store_.get(), &SettingsStore::errorChanged, this, note("error"));
        store_->claim(u"anna"_qs, api());
    }

    void toggling_data() {
        const auto row =
            columns<QString, QString, bool, QString, QString>("disabled", "ids", "wasOn", "off", "on");
        row("nothing off", "", "b a", true, "a b", "");
        row("half of it", "z b", "b a", false, "a b z", "z");
        row("others", "z m", "b a", true, "a b m z", "m z");
        row("all of it", "a b", "a b", false, "a b", "");
        row("twice", "a a", "a", false, "a", "");
        row("no identifier", "x", "", true, "x", "x");
        row("twice the same", "", "a a", true, "a", "");
    }
    void toggling() {
        FETCH(QString, disabled, QString, ids);
        const QStringList list = words(qPrintable(disabled));
        const ModelOption model = option(qPrintable(ids));
        QTEST(isModelOn(list, model), "wasOn");
        QTEST(toggled(list, model, false).join(u' '), "off");
        QTEST(toggled(list, model, true).join(u' '), "on");
    }

    void nothingIsSavedBeforeTheFirstLoad() {
        QVERIFY(store_->isOn(model_));
        store_->set(model_, false);
        store_->setAnonymize(true);
        server_->enqueue(held(loadJson(false, "z")));
        store_->load();
        store_->load(); // one at a time
        QVERIFY(isHeld());
        store_->set(model_, false);
        QVERIFY(store_->isOn(model_));
        server_->proceed();
        QVERIFY(loaded());
        QCOMPARE(shown(), u"no [z]"_qs);
        QCOMPARE(server_->requests().size(), 1);
        QCOMPARE(server_->requests().first().target, "/api/settings");
    }

    void loadTellsOnlyWhatIsNew() {
        enqueue(loadJson(true, "a"));
        store_->load();
        QVERIFY(store_->isLoading());
        QVERIFY(loaded());
        QCOMPARE(told_, words("loading settings models loading"));
        QCOMPARE(store_->models().first().ids, words("a b"));
        QCOMPARE(store_->anonymizeCredits(), 2);
        QVERIFY(store_->isEnabled());
        QVERIFY(!store_->isOn(model_));
        load(loadJson(true, "a"));
        enqueue(
            R"({"settings": {"anonymize": true, "disabledModels": ["a"]}, "models": [], "enabled": false})");
        store_->load();
        QVERIFY(loaded());
        QCOMPARE(told_, words("loading settings models loading"));
        QVERIFY(!store_->isEnabled());
        QVERIFY(!store_->anonymizeCredits());
    }

    void changesShowAtOnceAndSavesFollowEachOther() {
        load(loadJson(false, "z b"));
        server_->enqueue(held(savedJson(false, "odd reply")));
        enqueue(savedJson(false, "z"));
        enqueue(savedJson(true, "z y"));
        store_->set(model_, false);
        QCOMPARE(shown(), u"no [a b z]"_qs);
        store_->set(model_, true);
        store_->setAnonymize(true);
        store_->setAnonymize(true); // no difference
        QCOMPARE(shown(), u"yes [z]"_qs);
        QCOMPARE(store_->inFlight(), 3);
        QVERIFY(isHeld());
        QCOMPARE(savesSent().size(), 1);
        server_->proceed();
        QVERIFY(waitUntil([&] { return store_->inFlight() == 2; }));
        QCOMPARE(shown(), u"yes [z]"_qs); // what the first reply says is older
        QVERIFY(saved());
        QCOMPARE(savesSent(), QByteArrayList({settingsJson(false, "a b z"), settingsJson(false, "z"),
                                              settingsJson(true, "z")}));
        QCOMPARE(shown(), u"yes [z y]"_qs);
        QCOMPARE(told_, words("settings settings settings settings"));
    }

    void aSlowLoadOverwritesNoChoice_data() {
        const auto row =
            columns<bool, RawReply, QString, bool>("isSaveFirst", "saveReply", "shownThen", "isSaveDone");
        const QByteArray saved = savedJson(false, "a b");
        const RawReply stored = RawReply::complete(200, saved);
        row("save under way", false, held(saved, 2), "no [a b]", false);
        row("save stored", false, stored, "no [a b]", true);
        row("save stored that began before the load", true, stored, "no [a b]", true);
        row("save refused", false, RawReply::complete(500, ""), "yes [z]", true);
        row("save perhaps stored", false, RawReply::head(200, "Content-Length: 9\r\n").close(), "no []",
            true);
    }
    void aSlowLoadOverwritesNoChoice() {
        FETCH(bool, isSaveFirst, RawReply, saveReply, bool, isSaveDone);
        load();
        server_->setHandler([&](const RawRequest& request) {
            return request.method == "GET"
                       ? held(R"({"models": [], "settings": )" + settingsJson(true, "z") + "}")
                       : saveReply;
        });
        if (isSaveFirst)
            store_->set(model_, false);
        store_->load();
        QVERIFY(isSaveFirst || isHeld());
        store_->set(model_, false);
        QVERIFY(waitUntil([&] {
            return server_->pausedCount() == (isSaveDone ? 1 : 2) &&
                   store_->inFlight() == (isSaveDone ? 0 : 1);
        }));
        server_->proceed();
        QVERIFY(loaded());
        QTEST(shown(), "shownThen");
        QCOMPARE(store_->models().isEmpty(), isSaveDone);
        QCOMPARE(store_->inFlight(), isSaveDone ? 0 : 1);
        server_->proceed();
        QVERIFY(saved());
        QTEST(shown(), "shownThen");
        QCOMPARE(error(), u"-"_qs);
    }

    void failuresAreShown_data() {
        const auto row = columns<int, QByteArray, QString>("status", "body", "text");
        row("words of the service", 500, R"({"error": "Not now."})", "Not now.");
        row("not understood", 200, "{}",
            "Teskal sent something this app doesn’t understand yet. Update the app.");
        row("no token", 0, QByteArray(), "Sign in again.");
    }
    void failuresAreShown() {
        FETCH(int, status, QByteArray, body, QString, text);
        load(loadJson(false, "z"));
        if (status == 0)
            store_->claim(u"anna"_qs, api([](std::stop_token) { return refusedToken(); }));
        enqueue(body, status);
        store_->load();
        QVERIFY(loaded());
        QCOMPARE(error(), text);
        QCOMPARE(shown(), u"no [z]"_qs);
        store_->dismissError();
        QCOMPARE(error(), u"-"_qs);
        enqueue(body, status);
        store_->setAnonymize(true);
        QVERIFY(saved());
        QCOMPARE(error(), text);
        QCOMPARE(shown(), u"no [z]"_qs);
    }

    void aFailedSaveIsTakenBack() {
        load();
        enqueue(savedJson(false, "a b"));
        enqueue("", 503);
        store_->set(model_, false);
        store_->setAnonymize(true);
        QCOMPARE(shown(), u"yes [a b]"_qs);
        QVERIFY(saved());
        QCOMPARE(shown(), u"no [a b]"_qs); // what the first save stored
        QCOMPARE(error(), u"Request failed (503)"_qs);
        load(loadJson(true, "a b"));
        QCOMPARE(error(), u"-"_qs);
    }

    void savesEndWithoutAClient() {
        load();
        server_->enqueue(held(savedJson(false, "a b")));
        store_->set(model_, false);
        store_->setAnonymize(true);
        QVERIFY(isHeld());
        store_->claim(u"anna"_qs, std::nullopt);
        server_->proceed();
        QVERIFY(saved());
        QCOMPARE(shown(), u"no [a b]"_qs);
        QCOMPARE(error(), u"Your session ended. Sign in again to keep chatting."_qs);
        QCOMPARE(savesSent().size(), 1);
    }

    void aChangeInASignalIsSentOnce() {
        load();
        enqueue(savedJson(true, ""));
        // This save ends before it waits for anything.
        store_->claim(u"anna"_qs, api([](std::stop_token) { return refusedToken(); }));
        const auto again = [this] {
            store_->claim(u"anna"_qs, api());
            store_->setAnonymize(true);
        };
        connect(store_.get(), &SettingsStore::errorChanged, this, again, Qt::SingleShotConnection);
        store_->setAnonymize(true);
        QCOMPARE(store_->inFlight(), 1);
        QVERIFY(saved());
        QCOMPARE(shown(), u"yes []"_qs);
        QCOMPARE(savesSent().size(), 1);
    }

    void anotherAccountForgetsEverything_data() {
        // next: empty for nobody
        rows<QString>("next", {{"another", u"bert"_qs}, {"nobody", QString()}});
    }
    void anotherAccountForgetsEverything() {
        QFETCH(const QString, next);
        load();
        server_->setHandler([](const RawRequest& request) {
            return held(request.method == "GET" ? loadJson(true, "a") : savedJson(true, "a"));
        });
        store_->load();
        store_->set(model_, false);
        store_->set(model_, true);
        QVERIFY(waitUntil([&] { return server_->pausedCount() == 2; }));
        if (next.isEmpty())
            store_->claim(std::nullopt, std::nullopt);
        else
            store_->claim(next, api());
        QCOMPARE(shown(), u"-"_qs);
        QVERIFY(!store_->isLoading() && store_->inFlight() == 0 && store_->models().isEmpty());
        told_.clear();
        server_->proceed();
        QVERIFY(waitUntil([&] { return server_->openConnections() == 0; }));
        runQueued();
        QCOMPARE(shown(), u"-"_qs);
        QCOMPARE(told_, QStringList());
        QCOMPARE(savesSent().size(), 1);
        store_->load();
        QCOMPARE(store_->isLoading(), !next.isEmpty());
    }

    void theAccountMayChangeInASignal() {
        load();
        enqueue(savedJson(true, "z"));
        store_->setAnonymize(true);
        store_->setAnonymize(false);
        connect(store_.get(), &SettingsStore::settingsChanged, this, [this] {
            if (store_->inFlight() == 1)
                store_->claim(u"bert"_qs, api());
        });
        connect(store_.get(), &SettingsStore::errorChanged, this,
                [this] { store_->claim(u"bert"_qs, api()); });
        enqueue("", 500);
        QVERIFY(saved());
        runQueued();
        QCOMPARE(shown(), u"-"_qs);
        QCOMPARE(error(), u"-"_qs);
        load(loadJson(true, "b"));
        QCOMPARE(shown(), u"yes [b]"_qs);
    }

private:
    TeskalAPI api(TokenProvider token = [](std::stop_token) { return readyToken(); }) {
        return {server_->url(), std::move(token), session_, clock_, QString()};
    }
    void enqueue(const QByteArray& body, int status = 200) {
        server_->enqueue(RawReply::complete(status, body));
    }
    void load(const QByteArray& body = loadJson(false, "")) {
        enqueue(body);
        store_->load();
        QVERIFY(loaded());
        QVERIFY(store_->settings());
        told_.clear();
    }
    bool saved() const {
        return waitUntil([&] { return store_->inFlight() == 0; });
    }
    bool loaded() const {
        return waitUntil([&] { return !store_->isLoading(); });
    }
    bool isHeld() const {
        return waitUntil([&] { return server_->pausedCount() == 1; });
    }
    /// "yes [a b]"
    QString shown() const {
        if (!store_->settings())
            return u"-"_qs;
        const AccountSettings& now = *store_->settings();
        return u"%1 [%2]"_qs.arg(now.anonymize ? u"yes"_qs : u"no"_qs, now.disabledModels.join(u' '));
    }
    QString error() const { return store_->error().isEmpty() ? u"-"_qs : store_->error(); }
    QByteArrayList savesSent() const {
        QByteArrayList bodies;
        for (const RawRequest& request : server_->requests())
            if (request.method == "PUT")
                bodies.append(request.body);
        return bodies;
    }

    ManualClock clock_;
    HttpSession session_{clock_};
    std::unique_ptr<RawHttpServer> server_;
    std::unique_ptr<SettingsStore> store_;
    QStringList told_;
    ModelOption model_ = option("a b");
};

QTEST_GUILESS_MAIN(TestSettingsStore)
#include "TestSettingsStore.moc"
