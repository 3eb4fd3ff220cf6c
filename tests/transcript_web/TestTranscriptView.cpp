#include "EnginePage.h"
#include "WaitUntil.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QMenu>
#include <QTest>

using namespace teskal;
using namespace teskal::test;

class TestTranscriptView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void dropsGoToTheWidgetAround();
    void menu_data();
    void menu();
    void menuByKeyboard();
    void cleanup();

private:
    QMenu* openMenu() const {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        return menu && menu->isVisible() ? menu : nullptr;
    }
    QStringList items() const;

    std::unique_ptr<EnginePage> page_;
};

void TestTranscriptView::initTestCase() {
    page_ = std::make_unique<EnginePage>(QSize(500, 400));
    QVERIFY(page_->open());
    page_->evaluate(QStringLiteral(
        "document.body.innerHTML = `<p id=text>Some words</p><p><a id=link href='https://example.com/'>A "
        "link</a></p>"
        "<img id=image src='data:image/gif;base64,R0lGODlhAQABAIAAAAAAAP///yH5BAEAAAAALAAAAAABAAEAAAIBRAA7'"
        " width=50 height=50>`; 1"));
}

void TestTranscriptView::cleanup() {
    if (QMenu* menu = openMenu())
        menu->close();
}

void TestTranscriptView::dropsGoToTheWidgetAround() {
    QVERIFY(!page_->view().acceptDrops());
    // The page is open, so the engine has had its chance to change this.
    for (const QWidget* part : page_->view().findChildren<QWidget*>())
        QVERIFY2(!part->acceptDrops(), part->metaObject()->className());
}

QStringList TestTranscriptView::items() const {
    QStringList texts;
    if (const QMenu* menu = openMenu())
        for (const QAction* action : menu->actions())
            texts.append(action->text());
    return texts;
}

void TestTranscriptView::menu_data() {
    QTest::addColumn<QString>("element");
    QTest::addColumn<bool>("selected");
    QTest::addColumn<QStringList>("expected");
    const QString copy = QStringLiteral("Copy");
    const QString copyLink = QStringLiteral("Copy link address");
    const QString copyImage = QStringLiteral("Copy image");
    const QString all = QStringLiteral("Select all");
    QTest::newRow("text") << QStringLiteral("text") << false << QStringList{all};
    QTest::newRow("selected text") << QStringLiteral("text") << true << QStringList{copy, all};
    QTest::newRow("link") << QStringLiteral("link") << false << QStringList{copyLink, all};
    QTest::newRow("image") << QStringLiteral("image") << false << QStringList{copyImage, all};
}

void TestTranscriptView::menu() {
    QFETCH(const QString, element);
    QFETCH(const bool, selected);
    QFETCH(const QStringList, expected);
    const QVariantList place =
        page_
            ->evaluate(
                QStringLiteral("getSelection().removeAllRanges();"
                               "if (%2) getSelection().selectAllChildren(document.getElementById('%1'));"
                               "{ const box = document.getElementById('%1').getBoundingClientRect();"
                               "[box.left + 20, box.top + box.height / 2] }")
                    .arg(element, selected ? QStringLiteral("true") : QStringLiteral("false")))
            .toList();
    QCOMPARE(place.size(), 2);
    QTest::mouseClick(&page_->input(), Qt::RightButton, {},
                      QPointF(place[0].toDouble(), place[1].toDouble()).toPoint());
    QVERIFY(waitUntil([this] { return openMenu() != nullptr; }, EnginePage::patience));
    QCOMPARE(items(), expected);
    if (selected) {
        QApplication::clipboard()->clear();
        openMenu()->actions().first()->trigger();
        QVERIFY(waitUntil([] { return QApplication::clipboard()->text() == QLatin1String("Some words"); }));
    }
}

void TestTranscriptView::menuByKeyboard() {
    page_->view().setFocus();
    page_->evaluate(QStringLiteral("getSelection().selectAllChildren(document.getElementById('text')); 1"));
    QTest::keyClick(&page_->input(), Qt::Key_Menu);
    QVERIFY(waitUntil([this] { return openMenu() != nullptr; }, EnginePage::patience));
    QCOMPARE(items(), (QStringList{QStringLiteral("Copy"), QStringLiteral("Select all")}));
}

int main(int argc, char* argv[]) {
    prepareEngine();
    QApplication application(argc, argv);
    TestTranscriptView test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestTranscriptView.moc"
