#include "ComposerTest.h"
#include "composer/LevelBars.h"
#include "composer/RecordingRow.h"
#include "theme/DesktopAppearance.h"

#include <QDBusVariant>
#include <QLabel>

using namespace teskal::test;

class TestComposerVoice final : public test::ComposerTest {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        ComposerTest::init();
        wantMotion(true);
        row_ = composer_->findChild<RecordingRow*>();
    }

    void rowTakesThePlaceOfTheText() {
        QSignalSpy toggled(composer_.get(), &ComposerView::voiceToggled);
        QSignalSpy used(composer_.get(), &ComposerView::useRecordingRequested);
        composer_->setText(u"Hi"_qs);
        QVERIFY(!row_->isVisible());
        QTest::mouseClick(button("dictateButton"), Qt::LeftButton);
        QCOMPARE(toggled.count(), 1);
        QVERIFY2(text_->isVisible(), "only a recording shows the row");

        compose(u" に"_qs);
        composer_->setVoicePhase(VoicePhase::Recording);
        QVERIFY(row_->isVisible() && !text_->isVisible());
        QVERIFY2(!text_->isComposing(), "nothing is left unfinished where it is not seen");
        QCOMPARE(composer_->text(), u"Hi に"_qs);
        for (const auto& [seconds, shown] : {std::pair(59.97, "0:59"), {65.0, "1:05"}, {300.0, "5:00"}}) {
            composer_->setElapsed(seconds);
            QCOMPARE(row_->findChild<QLabel*>(u"elapsed"_qs)->text(), QLatin1String(shown));
        }
        QCOMPARE(button("cancelRecordingButton")->toolTip(), u"Cancel recording"_qs);
        QCOMPARE(button("useRecordingButton")->toolTip(), u"Use what you said"_qs);
        QTest::mouseClick(button("useRecordingButton"), Qt::LeftButton);
        QTest::mouseClick(button("cancelRecordingButton"), Qt::LeftButton);
        QTest::mouseClick(button("dictateButton"), Qt::LeftButton);
        QCOMPARE(used.count(), 1);
        QCOMPARE(toggled.count(), 3);

        composer_->setVoicePhase(VoicePhase::Transcribing);
        QVERIFY(row_->findChild<QLabel*>(u"transcribing"_qs)->isVisible());
        QVERIFY(!button("useRecordingButton")->isVisible() && !button("dictateButton")->isEnabled());
        QVERIFY2(row_->hasFocus(), "the focus waits in its place");

        composer_->setVoicePhase(VoicePhase::Idle);
        composer_->setText(u"Hi hello"_qs);
        QVERIFY(text_->isVisible() && !row_->isVisible() && button("dictateButton")->isEnabled());
        QVERIFY(text_->hasFocus());
        QCOMPARE(text_->textCursor().position(), 8);
    }

    void keysOfTheRow() {
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

    void levelBars_data() {
        const auto row = columns<double, int, bool>("level", "lit", "dark");
        row("silence", 0.0, 0, false);
        row("faint", 0.01, 1, true);
        row("half", 0.5, 7, false);
        row("half, dark", 0.5, 7, true);
        row("full", 1.0, 14, false);
    }

    void levelBars() {
        FETCH(double, level, int, lit, bool, dark);
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

    void levelsChangeLinearly() {
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

private:
    void wantMotion(bool wanted) {
        theme_.desktop().settingChanged(u"org.freedesktop.appearance"_qs, u"reduced-motion"_qs,
                                        QDBusVariant(wanted ? 0U : 1U));
    }

    RecordingRow* row_ = nullptr;
};

QTEST_MAIN(TestComposerVoice)
#include "TestComposerVoice.moc"
