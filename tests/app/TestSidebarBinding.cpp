#include "Columns.h"
#include "ProfilePicture.h"
#include "RawHttpServer.h"
#include "SidebarBinding.h"
#include "World.h"
#include "sidebar/AccountFooter.h"
#include "sidebar/ChatMime.h"
#include "sidebar/SidebarMenus.h"
#include "sidebar/SidebarTree.h"
#include "sidebar/SidebarView.h"
#include "theme/Theme.h"

#include <QApplication>
#include <QBuffer>
#include <QLabel>
#include <QLineEdit>
#include <QSettings>

using namespace teskal::test;

namespace {

/// The sidebar over the application.
struct Desk {
    explicit Desk(World& world)
        : settings(world.folder.filePath(u"s.ini"_qs), QSettings::IniFormat), view(theme),
          binding(world.model(), view, settings) {
        view.resize(268, 600);
        view.show();
    }

    QString hint() const { return view.findChild<QLabel*>(u"emptyHint"_qs)->text(); }

    Theme theme;
    QSettings settings;
    SidebarView view;
    SidebarBinding binding;
};

} // namespace

class TestSidebarBinding : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { world_ = std::make_unique<SignedInWorld>(); }

    void selection() {
        AppModel& model = world_->model();
        const QString one = chat(u"One"_qs);
        const QString two = chat(u"Two"_qs);
        Desk desk(*world_);
        SidebarTree& list = desk.view.list();
        QCOMPARE(list.selectedChat(), two);
        const QRect row = list.visualRect(list.rows()->chatIndex(one));
        QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, row.center());
        QCOMPARE(model.selection(), std::optional(one));
        model.select(two);
        QCOMPARE(list.selectedChat(), two);
        model.newChat();
        QCOMPARE(list.selectedChat(), QString());
        QVERIFY(list.selectionModel()->selectedIndexes().isEmpty());
    }

    void questions() {
        AppModel& model = world_->model();
        const Prompts& prompts = model.prompts();
        const QString one = chat(u"One"_qs);
        const QString two = chat(u"Two"_qs);
        const QString folder = model.folders().create(u"Work"_qs).value();
        Desk desk(*world_);
        SidebarMenus& menus = desk.view.menus();
        QSignalSpy several(&desk.binding, &SidebarBinding::deleteChatsRequested);
        Q_EMIT menus.renameChatRequested(one);
        QCOMPARE(prompts.renaming(), std::optional(one));
        Q_EMIT menus.deleteChatsRequested({one});
        QCOMPARE(prompts.confirmingDelete(), std::optional(one));
        QCOMPARE(several.count(), 0);
        Q_EMIT menus.deleteChatsRequested({one, two});
        QCOMPARE(several.takeFirst().at(0).toStringList(), (QStringList{one, two}));
        Q_EMIT desk.view.newFolderRequested();
        QCOMPARE(prompts.folderPrompt(), std::optional(FolderPrompt::create()));
        Q_EMIT menus.newFolderRequested(one);
        QCOMPARE(prompts.folderPrompt(), std::optional(FolderPrompt::create(one)));
        Q_EMIT menus.renameFolderRequested(folder);
        QCOMPARE(prompts.folderPrompt()->renamed->name, u"Work"_qs);
        Q_EMIT menus.deleteFolderRequested(folder);
        QCOMPARE(prompts.confirmingFolderDelete()->id, folder);
        Q_EMIT menus.copyTranscriptRequested(one);
        QVERIFY(world_->clipboard.startsWith(u"# One\n\n## You\n\nOne\n\n## Teskal\n\n"_qs));
        QCOMPARE(model.toast(), u"Copied"_qs);
        SidebarTree& list = desk.view.list();
        Q_EMIT list.chatRenamed(one, u"First"_qs);
        Q_EMIT list.folderRenamed(folder, u"Play"_qs);
        QCOMPARE(model.store().chat(one)->title, u"First"_qs);
        QCOMPARE(model.folders().folders().constFirst().name, u"Play"_qs);
    }

    void filing() {
        FolderStore& folders = world_->model().folders();
        const QString one = chat(u"One"_qs);
        const QString folder = folders.create(u"Work"_qs).value();
        Desk desk(*world_);
        Q_EMIT desk.view.list().filingRequested({one, u"from elsewhere"_qs}, folder);
        QCOMPARE(folders.filed(), (QHash<QString, QString>{{one, folder}}));
        Q_EMIT desk.view.menus().filingRequested({one}, std::nullopt);
        QVERIFY(folders.filed().isEmpty());
    }

    void closedFoldersStayClosed() {
        FolderStore& folders = world_->model().folders();
        const QString one = folders.create(u"One"_qs).value();
        const QString two = folders.create(u"Two"_qs).value();
        folders.create(u"Three"_qs);
        {
            Desk desk(*world_);
            SidebarTree& list = desk.view.list();
            for (const int row : {1, 0})
                QTest::mouseClick(list.viewport(), Qt::LeftButton, {},
                                  list.visualRect(list.rows()->index(row, 0)).center());
            const QString stored = desk.settings.value(u"sidebar.collapsedFolders"_qs).toString();
            const QStringList folded = stored.split(u',');
            QCOMPARE(QSet<QString>(folded.begin(), folded.end()), (QSet<QString>{one, two}));
            QCOMPARE(folded.size(), 2);
            QCOMPARE(desk.settings.allKeys().size(), 1);
        }
        Desk again(*world_);
        SidebarTree& list = again.view.list();
        QVERIFY(!list.isExpanded(list.rows()->index(0, 0)) && !list.isExpanded(list.rows()->index(1, 0)));
        QVERIFY(list.isExpanded(list.rows()->index(2, 0)));
    }

    void emptyStates() {
        Desk desk(*world_);
        QCOMPARE(desk.hint(), u"Your chats will appear here."_qs);
        chat(u"One"_qs);
        QCOMPARE(desk.hint(), QString());
        auto* field = desk.view.findChild<QLineEdit*>(u"sidebarSearch"_qs);
        field->setText(u" Z "_qs);
        QTRY_COMPARE(desk.hint(), u"No chats match “Z”"_qs);
        field->setText(u" oNe"_qs);
        QTRY_COMPARE(desk.hint(), QString());
        world_->model().signOut();
        QTRY_COMPARE(field->text(), QString());
        QCOMPARE(desk.hint(), u"Your chats will appear here."_qs);
    }

    void account() {
        AppModel& model = world_->model();
        Desk desk(*world_);
        AccountFooter& footer = desk.view.footer();
        QTRY_VERIFY(model.balance().billing());
        QCOMPARE(footer.text(), model.auth().profile()->displayName());
        QVERIFY(footer.accessibleDescription().contains(u"credits"_qs));
        Q_EMIT footer.routesRequested();
        QCOMPARE(model.sheet(), std::optional(Sheet::Routes));
        Q_EMIT footer.keysRequested();
        QCOMPARE(model.sheet(), std::optional(Sheet::Keys));
        QSignalSpy privacy(&desk.binding, &SidebarBinding::privacyRequested);
        Q_EMIT footer.privacyRequested();
        QCOMPARE(privacy.count(), 1);
        Q_EMIT footer.signOutRequested();
        QTRY_VERIFY(!model.auth().isSignedIn());
    }

    void picture() {
        QByteArray png;
        QBuffer buffer(&png);
        QImage original(300, 200, QImage::Format_RGB32);
        original.fill(Qt::red);
        QVERIFY(original.save(&buffer, "png"));
        RawHttpServer server;
        ProfilePicture picture(world_->http);
        QSignalSpy changed(&picture, &ProfilePicture::changed);
        server.enqueue(RawReply::complete(200, png));
        picture.setSource(server.url().toString());
        QTRY_COMPARE(picture.image().size(), QSize(192, 128));
        server.enqueue(RawReply::complete(200, QByteArrayLiteral("no picture")));
        picture.setSource(server.url(u"/other"_qs).toString());
        QVERIFY2(picture.image().isNull(), "nobody is shown as somebody else");
        QTRY_COMPARE(server.requests().size(), 2);
        QVERIFY(!server.requests().constFirst().header("Authorization"));
        picture.setSource(u"http://example.invalid/me.png"_qs);
        picture.setSource(u"file:///etc/hostname"_qs);
        picture.setSource(std::nullopt);
        QCoreApplication::processEvents();
        QVERIFY(picture.image().isNull());
        QCOMPARE(changed.count(), 2);
    }

private:
    QString chat(const QString& text) {
        world_->model().select(std::nullopt);
        return world_->ask(text);
    }

    std::unique_ptr<World> world_;
};

QTEST_MAIN(TestSidebarBinding)
#include "TestSidebarBinding.moc"
