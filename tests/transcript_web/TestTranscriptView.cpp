#include "Columns.h"
#include "EnginePage.h"
#include "WaitUntil.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QMenu>
#include <QTest>

using namespace teskal::test;

class TestTranscriptView : public EngineTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        page_ = std::make_unique<EnginePage>(QSize(500, 400));
        QVERIFY(page_->open());
        page_->evaluate(u"document.body.innerHTML = `<p id=text>Some words</p><p><a id=link "
                        u"href='https://example.com/'>A "
                        "link</a></p>"
                        "<img id=image "
                        "src='data:image/gif;base64,R0lGODlhAQABAIAAAAAAAP///yH5BAEAAAAALAAAAAABAAEAAAIBRAA7'"
                        " width=50 height=50>`; 1"_qs);
    }

    void dropsGoToTheWidgetAround() {
        QVERIFY(!page_->view().acceptDrops());
        // The page is open, so the engine has had its chance to change this.
        for (const QWidget* part : page_->view().findChildren<QWidget*>())
            QVERIFY2(!part->acceptDrops(), part->metaObject()->className());
    }

    void menu_data() {
        const auto row = columns<QString, bool, QStringList>("element", "selected", "expected");
        const QString copy = u"Copy"_qs;
        const QString copyLink = u"Copy link address"_qs;
        const QString copyImage = u"Copy image"_qs;
        const QString all = u"Select all"_qs;
        row("text", "text", false, QStringList{all});
        row("selected text", "text", true, QStringList{copy, all});
        row("link", "link", false, QStringList{copyLink, all});
        row("image", "image", false, QStringList{copyImage, all});
    }
    void menu() {
        FETCH(QString, element, bool, selected, QStringList, expected);
        const QVariantList place =
            page_
                ->evaluate(u"getSelection().removeAllRanges();"
                           "if (%2) getSelection().selectAllChildren(document.getElementById('%1'));"
                           "{ const box = document.getElementById('%1').getBoundingClientRect();"
                           "[box.left + 20, box.top + box.height / 2] }"_qs.arg(
                               element, selected ? u"true"_qs : u"false"_qs))
                .toList();
        QCOMPARE(place.size(), 2);
        QTest::mouseClick(&page_->input(), Qt::RightButton, {},
                          QPointF(place[0].toDouble(), place[1].toDouble()).toPoint());
        QVERIFY(waitUntil([this] { return openMenu() != nullptr; }, EnginePage::patience));
        QCOMPARE(items(), expected);
        if (selected) {
            QApplication::clipboard()->clear();
            openMenu()->actions().first()->trigger();
            QVERIFY(
                waitUntil([] { return QApplication::clipboard()->text() == QLatin1String("Some words"); }));
        }
    }

    void menuByKeyboard() {
        page_->view().setFocus();
        page_->evaluate(u"getSelection().selectAllChildren(document.getElementById('text')); 1"_qs);
        QTest::keyClick(&page_->input(), Qt::Key_Menu);
        QVERIFY(waitUntil([this] { return openMenu() != nullptr; }, EnginePage::patience));
        QCOMPARE(items(), (QStringList{u"Copy"_qs, u"Select all"_qs}));
    }

    void cleanup() {
        if (QMenu* menu = openMenu())
            menu->close();
    }

private:
    QMenu* openMenu() const {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        return menu && menu->isVisible() ? menu : nullptr;
    }
    QStringList items() const {
        QStringList texts;
        if (const QMenu* menu = openMenu())
            for (const QAction* action : menu->actions())
                texts.append(action->text());
        return texts;
    }

    std::unique_ptr<EnginePage> page_;
};

QTEST_MAIN(TestTranscriptView)
#include "TestTranscriptView.moc"
