// The composer's field beside the toolkit's bare one: keys and pastes, in a short text and in 5 MB of it, and
// the marks of misspelt words; a recording beside the bare encoder. Without arguments and without a display.

#include "AacFile.h"
#include "BareEncoder.h"
#include "Comparison.h"
#include "Measure.h"
#include "SpellChecker.h"
#include "composer/ComposerTextView.h"
#include "composer/ComposerView.h"
#include "theme/Theme.h"

#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QPlainTextEdit>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <cstdio>
#include <memory>

using namespace teskal;
using namespace teskal::bench;

namespace {

constexpr int runs = 7;
constexpr int keyCount = 100;

/// The toolkit's field as it comes.
std::unique_ptr<QPlainTextEdit> bareField(const Theme& theme) {
    auto field = std::make_unique<QPlainTextEdit>();
    field->setFont(theme.font(TextRole::Reading));
    field->resize(460, 240);
    field->show();
    return field;
}

std::unique_ptr<ComposerView> composerOf(const Theme& theme) {
    auto composer = std::make_unique<ComposerView>(theme);
    composer->resize(500, 320);
    composer->show();
    return composer;
}

/// Letters typed at the end and taken away again, each painted.
int type(QPlainTextEdit& field) {
    field.moveCursor(QTextCursor::End);
    for (int key = 0; key < keyCount; ++key) {
        QTest::keyClick(&field, key % 2 == 0 ? Qt::Key_A : Qt::Key_Backspace);
        field.viewport()->repaint();
    }
    return 0;
}

int paste(QPlainTextEdit& field, const QString& text) {
    QGuiApplication::clipboard()->setText(text);
    field.selectAll();
    field.paste();
    field.viewport()->repaint();
    const int count = field.document()->characterCount();
    field.document()->clearUndoRedoStacks();
    return count;
}

Comparison keys(const Theme& theme, const QString& what, const QString& text) {
    const auto bare = bareField(theme);
    QObject::connect(bare.get(), &QPlainTextEdit::textChanged,
                     [&, draft = QString()]() mutable { draft = bare->toPlainText(); });
    const auto composer = composerOf(theme);
    paste(*bare, text);
    paste(composer->textView(), text);
    const auto [floor, ours] = mediansByTurns(
        runs, [&] { return type(*bare); }, [&] { return type(composer->textView()); });
    return {what, QStringLiteral("the bare field, read each time"), floor, ours, text.size(), 2};
}

Comparison pastes(const Theme& theme, const QString& what, const QString& against, const QString& bareText,
                  const QString& text) {
    const auto bare = bareField(theme);
    const auto composer = composerOf(theme);
    const auto [floor, ours] = mediansByTurns(
        runs, [&] { return paste(*bare, bareText); }, [&] { return paste(composer->textView(), text); });
    return {what, against, floor, ours, text.size(), 1.2};
}

/// A field full of words of which every second one is misspelt.
Comparison marks(const Theme& theme) {
    const QTemporaryDir folder;
    const auto write = [&folder](const char* name, const QByteArray& text) {
        QFile file(folder.filePath(QLatin1String(name)));
        if (!file.open(QFile::WriteOnly) || file.write(text) != text.size())
            qFatal("no dictionary");
    };
    write("en.aff", "SET UTF-8\n");
    write("en.dic", "1\nright\n");
    const DictionaryPlaces places{{folder.path()}, {QStringLiteral("en")}, folder.path()};
    SpellChecker checker([places] { return places; });
    const auto plain = composerOf(theme);
    const auto marked = composerOf(theme);
    marked->textView().setSpelling(checker);
    const QString text = QStringLiteral("right wrong ").repeated(60);
    paste(plain->textView(), text);
    paste(marked->textView(), text);
    if (!QTest::qWaitFor([&] { return checker.isMisspelt(QStringLiteral("wrong")); }))
        qFatal("nothing is judged");
    const auto [floor, ours] = mediansByTurns(
        runs, [&] { return type(plain->textView()); }, [&] { return type(marked->textView()); });
    return {QStringLiteral("100 keys below 60 marked words"),
            QStringLiteral("the same field without marks"),
            floor,
            ours,
            text.size(),
            1.5};
}

Comparison recording() {
    QList<float> minute(60 * 44'100);
    for (qsizetype at = 0; at < minute.size(); ++at)
        minute[at] = 0.3F * float(std::sin(double(at) * 0.05) * std::sin(double(at) * 0.0003));
    const QTemporaryDir folder;
    const auto ours = [&] {
        AacFile file(folder.filePath(QStringLiteral("voice.m4a")));
        for (qsizetype at = 0; at < minute.size(); at += 4'410)
            file.write(minute.mid(at, 4'410));
        file.finish();
        return 0;
    };
    const auto [floor, took] = mediansByTurns(
        runs, [&] { return encodeBare(minute); }, ours);
    return {QStringLiteral("a minute of sound into its file"),
            QStringLiteral("the encoder alone"),
            floor,
            took,
            minute.size() * qint64(sizeof(float)),
            1.2};
}

int measure() {
    Theme theme;
    theme.install(*qApp);
    const QString lines =
        QStringLiteral("some eighty characters of a line that is like any other\n").repeated(90'000);
    const QString line = QStringLiteral("word and ").repeated(560'000);
    const QString bare = QStringLiteral("the bare field");
    const bool met = printTable(
        {keys(theme, QStringLiteral("100 keys in a short text"), QStringLiteral("some words\n").repeated(5)),
         keys(theme, QStringLiteral("100 keys in 5 MB of lines"), lines),
         pastes(theme, QStringLiteral("5 MB of lines pasted"), bare, lines, lines),
         pastes(theme, QStringLiteral("5 MB in one line pasted"), bare + QStringLiteral(", in lines"), lines,
                line),
         marks(theme), recording()});
    return met ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    return measure();
}
