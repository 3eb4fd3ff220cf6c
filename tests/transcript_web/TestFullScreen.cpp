#include "EnginePage.h"
#include "SampleVideo.h"

#include <QSignalSpy>
#include <QTest>

using namespace teskal;
using namespace teskal::test;

/// A generated video among many messages, made as large as the view by its reader.
class TestFullScreen : public EngineTest {
    Q_OBJECT

private Q_SLOTS:
    void takesTheViewAndGivesItBack() {
        EnginePage page({800, 600});
        QVERIFY(page.open());
        const QByteArray video = QByteArray::fromStdString(service::sampleVideo()).toBase64();
        page.evaluate(u"const text = 'Words. '.repeat(400);"
                      "const said = (id) => ({ id, role: 'assistant', content: text });"
                      "const made = { id: 'v', role: 'assistant', content: '',"
                      " media: { type: 'video', url: 'data:video/webm;base64,%1' } };"
                      "const many = (name) => Array.from({ length: 30 }, (_, index) => said(name + index));"
                      "teskal.setChat({ id: 'c', messages: [...many('a'), made, ...many('b')] }); 1"_qs.arg(
                          QString::fromLatin1(video)));
        QVERIFY(page.waitFor(u"document.querySelector('video')"_qs));
        page.evaluate(u"window.video = document.querySelector('video'); 1"_qs);
        // What stands above it may still be drawn for the first time, and move it.
        QVERIFY(page.waitFor(u"(video.scrollIntoView(), video.readyState > 0)"_qs));

        const auto place = [&page] {
            const QVariantList box = page.evaluate(u"(() => { const box = video.getBoundingClientRect();"
                                                   "return [box.x, box.y, box.width, box.height]; })()"_qs)
                                         .toList();
            const QRectF exact(box[0].toDouble(), box[1].toDouble(), box[2].toDouble(), box[3].toDouble());
            return exact.toRect(); // the engine scrolls by parts of pixels
        };
        const QRect before = place();
        QSignalSpy changed(&page.page(), &TranscriptPage::fullScreenChanged);
        // The engine lets nothing take the view but in answer to the user's hand.
        QTest::mouseClick(&page.input(), Qt::LeftButton, {}, before.center());
        QVERIFY(page.waitFor(u"navigator.userActivation.isActive"_qs));
        page.evaluate(u"video.requestFullscreen(); 1"_qs);
        QTRY_COMPARE(changed.count(), 1);
        QCOMPARE(changed.takeFirst().at(0).toBool(), true);
        QVERIFY(page.waitFor(u"document.fullscreenElement === video"_qs));
        QTRY_COMPARE(place(), page.view().rect());
        const QVariant onTop = page.evaluate(u"document.elementFromPoint(9, 9) === video"_qs);
        QVERIFY2(onTop.toBool(), "nothing lies over it");

        page.page().triggerAction(QWebEnginePage::ExitFullScreen);
        QTRY_COMPARE(changed.count(), 1);
        QCOMPARE(changed.takeFirst().at(0).toBool(), false);
        QTRY_COMPARE(place(), before);
    }
};

QTEST_MAIN(TestFullScreen)
#include "TestFullScreen.moc"
