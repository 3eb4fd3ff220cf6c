#include "ComposerTour.h"

#include "SpellChecker.h"
#include "TeskalApp.h"
#include "chat/DetailView.h"
#include "composer/ComposerTextView.h"
#include "composer/ComposerView.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QFile>
#include <QFileDialog>
#include <QLinearGradient>
#include <QPainter>
#include <QTemporaryDir>

namespace teskal::tour {

namespace {

QPixmap sunset() {
    QPixmap picture(160, 120);
    QPainter painter(&picture);
    QLinearGradient sky(0, 0, 0, 120);
    sky.setColorAt(0, QColor(38, 52, 96));
    sky.setColorAt(0.7, QColor(232, 138, 92));
    sky.setColorAt(0.71, QColor(24, 40, 60));
    sky.setColorAt(1, QColor(12, 22, 36));
    painter.fillRect(picture.rect(), sky);
    return picture;
}

} // namespace

ComposerTour::ComposerTour(TeskalApp& app, const Stage& stage)
    : app_(app), stage_(stage), composer_(app.window().detail().composer()) {}

void ComposerTour::play() {
    stage_.waitFor(QStringLiteral("the last notice to go"),
                   [this] { return app_.model().toast().isEmpty(); });
    files();
    attachPanel();
    longText();
    spelling();
    voice();
}

void ComposerTour::files() {
    const QString png = QStringLiteral("image/png");
    const QString pdf = QStringLiteral("application/pdf");
    composer_.setFiles({{1, QStringLiteral("Sunset.png"), png, false, sunset()},
                        {2, QStringLiteral("Timetable Vienna to Trieste, winter.pdf"), pdf, false, {}},
                        {3, QStringLiteral("Map.heic"), {}, true, {}},
                        {4, QStringLiteral("Damaged.png"), png, false, {}},
                        {5, QStringLiteral("Tickets.pdf"), pdf, false, {}}});
    composer_.setText(QStringLiteral("When do we have to leave?"));
    composer_.focusText();
    stage_.settle();
    stage_.picture(QStringLiteral("40-files"), app_.window());
    stage_.press(app_.window(), Qt::Key_Tab, Qt::ShiftModifier);
    stage_.settle();
    stage_.picture(QStringLiteral("41-files-by-keyboard"), app_.window());
    composer_.setFiles({});
    composer_.focusText();
}

void ComposerTour::attachPanel() {
    MainWindow& window = app_.window();
    stage_.press(window, Qt::Key_U, Qt::ControlModifier);
    const auto panel = [&window] { return window.findChild<QFileDialog*>(QStringLiteral("attachPanel")); };
    stage_.waitFor(QStringLiteral("the files"), [&] { return panel() && panel()->isVisible(); });
    stage_.settle();
    stage_.picture(QStringLiteral("42-attach"), window);
    panel()->reject();
    stage_.waitFor(QStringLiteral("the files to go"), [&] { return !panel(); });
}

void ComposerTour::longText() {
    QString list;
    for (int day = 1; day <= 14; ++day)
        list += QStringLiteral("Day %1: by train, with time for a walk along the water\n").arg(day);
    composer_.setText(list);
    stage_.settle();
    stage_.picture(QStringLiteral("43-long-text"), app_.window());
}

void ComposerTour::spelling() {
    QTemporaryDir folder;
    const auto write = [&folder](const char* name, const QByteArray& text) {
        QFile file(folder.filePath(QLatin1String(name)));
        file.open(QFile::WriteOnly);
        file.write(text);
    };
    write("en.aff", "SET UTF-8\nTRY esianrtolcdugmphbyfvkwz\n");
    write("en.dic", "11\nwhich\nmuseums\nare\nopen\non\na\nin\nthe\nrainy\nweekend\nwinter\n");
    const DictionaryPlaces places{{folder.path()}, {QStringLiteral("en")}, folder.path()};
    SpellChecker checker([places] { return places; });
    stage_.press(app_.window(), Qt::Key_N, Qt::ControlModifier);
    ComposerTextView& text = composer_.textView();
    text.setSpelling(checker);
    composer_.setText(QStringLiteral("Which musuems are open on a rainy weeknd in the winter? "));
    stage_.waitFor(QStringLiteral("the verdict"),
                   [&] { return checker.isMisspelt(QStringLiteral("musuems")); });
    QTextCursor cursor(text.document());
    cursor.setPosition(9);
    const QPoint place = text.cursorRect(cursor).center();
    QContextMenuEvent event(QContextMenuEvent::Mouse, place, text.viewport()->mapToGlobal(place));
    QApplication::sendEvent(text.viewport(), &event);
    stage_.waitFor(QStringLiteral("better words"),
                   [] { return QApplication::activePopupWidget() != nullptr; });
    stage_.settle();
    stage_.picture(QStringLiteral("44-spelling"), app_.window());
    QApplication::activePopupWidget()->close();
    composer_.setText({});
    app_.model().select(app_.model().store().at(0).id);
}

void ComposerTour::voice() {
    composer_.setVoicePhase(VoicePhase::Recording);
    composer_.setElapsed(65);
    composer_.setLevel(0.6);
    stage_.settle();
    stage_.picture(QStringLiteral("45-recording"), app_.window());
    composer_.setVoicePhase(VoicePhase::Transcribing);
    stage_.settle();
    stage_.picture(QStringLiteral("46-transcribing"), app_.window());
    composer_.setVoicePhase(VoicePhase::Idle);
}

} // namespace teskal::tour
