#include "ComposerTest.h"
#include "composer/LevelBars.h"
#include "composer/RecordingRow.h"
#include "theme/DesktopAppearance.h"

#include <QDBusVariant>
#include <QLabel>
#include <QSignalSpy>

using namespace teskal;

class TestComposerVoice final : public test::ComposerTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void rowTakesThePlaceOfTheText();
    void keysOfTheRow();
    void elapsed_data();
    void elapsed();
    void levelBars_data();
    void levelBars();
    void levelsChangeLinearly();

private:
    void wantMotion(bool wanted);

    RecordingRow* row_ = nullptr;
};

void TestComposerVoice::init() {
    ComposerTest::init();
    wantMotion(true);
    row_ = composer_->findChild<RecordingRow*>();
}

void TestComposerVoice::wantMotion(bool wanted) {
    theme_.desktop().settingChanged(QStringLiteral("org.freedesktop.appearance"),
                                    QStringLiteral("reduced-motion"), QDBusVariant(wanted ? 0U : 1U));
}

void TestComposerVoice::rowTakesThePlaceOfTheText() {
    QSignalSpy toggled(composer_.get(), &ComposerView::voiceToggled);
    QSignalSpy used(composer_.get(), &ComposerView::useRecordingRequested);
    composer_->setText(QStringLiteral("Hi"));
    QVERIFY(!row_->isVisible());
    QTest::mouseClick(button("dictateButton"), Qt::LeftButton);
    QCOMPARE(toggled.count(), 1);
    QVERIFY2(text_->isVisible(), "only a recording shows the row");

    compose(QStringLiteral(" に"));
    composer_->setVoicePhase(VoicePhase::Recording);
    QVERIFY(row_->isVisible() && !text_->isVisible());
    QVERIFY2(!text_->isComposing(), "nothing is left unfinished where it is not seen");
    QCOMPARE(composer_->text(), QStringLiteral("Hi に"));
    QCOMPARE(button("cancelRecordingButton")->toolTip(), QStringLiteral("Cancel recording"));
    QCOMPARE(button("useRecordingButton")->toolTip(), QStringLiteral("Use what you said"));
    QTest::mouseClick(button("useRecordingButton"), Qt::LeftButton);
    QTest::mouseClick(button("cancelRecordingButton"), Qt::LeftButton);
    QTest::mouseClick(button("dictateButton"), Qt::LeftButton);
    QCOMPARE(used.count(), 1);
    QCOMPARE(toggled.count(), 3);

    composer_->setVoicePhase(VoicePhase::Transcribing);
    QVERIFY(row_->findChild<QLabel*>(QStringLiteral("transcribing"))->isVisible());
    QVERIFY(!button("useRecordingButton")->isVisible() && !button("dictateButton")->isEnabled());
    QVERIFY2(row_->hasFocus(), "the focus waits in its place");

    composer_->setVoicePhase(VoicePhase::Idle);
    composer_->setText(QStringLiteral("Hi hello"));
    QVERIFY(text_->isVisible() && !row_->isVisible() && button("dictateButton")->isEnabled());
    QVERIFY(text_->hasFocus());
    QCOMPARE(text_->textCursor().position(), 8);
}

void TestComposerVoice::keysOfTheRow() {
    QSignalSpy toggled(composer_.get(), &ComposerView::voiceToggled);
    QSignalSpy used(composer_.get(), &ComposerView::useRecordingRequested);
    composer_->setVoicePhase(VoicePhase::Recording);
    press(Qt::Key_Return);
    QCOMPARE(used.count(), 1);
    for (const char* focused :
         {"useRecordingButton", "cancelRecordingButton", "dictateButton", "attachButton"}) {
        button(focused)->setFocus();
        press(Qt::Key_Escape);
    }
    QCOMPARE(toggled.count(), 4);
    composer_->setVoicePhase(VoicePhase::Transcribing);
    press(Qt::Key_Escape);
    press(Qt::Key_Return);
    QCOMPARE(toggled.count() + used.count(), 5);
    composer_->setVoicePhase(VoicePhase::Idle);
    press(Qt::Key_Escape);
    QCOMPARE(toggled.count(), 4);
}

void TestComposerVoice::elapsed_data() {
    QTest::addColumn<double>("seconds");
    QTest::addColumn<QString>("shown");
    QTest::newRow("9 s") << 9.0 << QStringLiteral("0:09");
    QTest::newRow("nearly a minute") << 59.97 << QStringLiteral("0:59");
    QTest::newRow("65 s") << 65.0 << QStringLiteral("1:05");
    QTest::newRow("the longest") << 300.0 << QStringLiteral("5:00");
}

void TestComposerVoice::elapsed() {
    QFETCH(const double, seconds);
    composer_->setVoicePhase(VoicePhase::Recording);
    composer_->setElapsed(seconds);
    QTEST(row_->findChild<QLabel*>(QStringLiteral("elapsed"))->text(), "shown");
}

void TestComposerVoice::levelBars_data() {
    QTest::addColumn<double>("level");
    QTest::addColumn<int>("lit");
    QTest::addColumn<bool>("dark");
    QTest::newRow("silence") << 0.0 << 0 << false;
    QTest::newRow("faint") << 0.01 << 1 << true;
    QTest::newRow("half") << 0.5 << 7 << false;
    QTest::newRow("half, dark") << 0.5 << 7 << true;
    QTest::newRow("full") << 1.0 << 14 << false;
}

void TestComposerVoice::levelBars() {
    QFETCH(const double, level);
    QFETCH(const int, lit);
    QFETCH(const bool, dark);
    theme_.setAppearance(dark ? Appearance::Dark : Appearance::Light);
    wantMotion(false);
    LevelBars bars(theme_);
    bars.resize(bars.sizeHint());
    bars.setLevel(level);
    QPixmap canvas(bars.size());
    canvas.fill(theme_.ink().card);
    bars.render(&canvas, QPoint(), QRegion(), QWidget::RenderFlags());
    const QImage image = canvas.toImage();
    const QColor ground = theme_.ink().card;
    for (int bar = 0; bar < LevelBars::barCount; ++bar) {
        const int centre = bar * 6 + 1; // three wide, three apart
        const QColor expected = flattened(theme_.ink().tint(bar < lit ? 0.7 : 0.12), ground);
        const QColor seen = image.pixelColor(centre, image.height() / 2);
        QVERIFY2(std::abs(seen.red() - expected.red()) <= 2, qPrintable(QString::number(bar)));
        int height = 0;
        for (int y = 0; y < image.height(); ++y)
            height += image.pixelColor(centre, y) == ground ? 0 : 1;
        QVERIFY2(std::abs(height - (6 + 3 * (bar % 4))) <= 1, qPrintable(QString::number(height)));
    }
}

void TestComposerVoice::levelsChangeLinearly() {
    composer_->setVoicePhase(VoicePhase::Recording);
    auto* bars = row_->findChild<LevelBars*>();
    auto* change = bars->findChild<QVariantAnimation*>();
    QVERIFY(change != nullptr);
    composer_->setLevel(1);
    QCOMPARE(change->state(), QAbstractAnimation::Running);
    QCOMPARE(change->duration(), 100);
    QCOMPARE(change->easingCurve().type(), QEasingCurve::Linear);
    composer_->setVoicePhase(VoicePhase::Transcribing);
    QCOMPARE(change->state(), QAbstractAnimation::Stopped);
    wantMotion(false);
    composer_->setVoicePhase(VoicePhase::Idle);
    composer_->setVoicePhase(VoicePhase::Recording);
    composer_->setLevel(0);
    QCOMPARE(change->state(), QAbstractAnimation::Stopped);
}

QTEST_MAIN(TestComposerVoice)
#include "TestComposerVoice.moc"
