#include "keyHint.h"

#include <QKeyCombination>
#include <QKeySequence>

namespace teskal {

namespace {

// ⌘ is Ctrl outside macOS, which is what Qt's Control modifier means on both.
Qt::KeyboardModifier modifierFor(QChar symbol) {
    switch (symbol.unicode()) {
    case u'⌘':
        return Qt::ControlModifier;
    case u'⇧':
        return Qt::ShiftModifier;
    case u'⌥':
        return Qt::AltModifier;
    case u'⌃':
        return Qt::MetaModifier;
    default:
        return Qt::NoModifier;
    }
}

Qt::Key keyFor(QStringView symbol) {
    if (symbol == u"⌫")
        return Qt::Key_Backspace;
    if (symbol == u"⏎" || symbol == u"↩")
        return Qt::Key_Return;
    return symbol.size() == 1 ? static_cast<Qt::Key>(symbol.front().toUpper().unicode()) : Qt::Key_unknown;
}

} // namespace

QString keyHint(const QString& text) {
    const qsizetype open = text.lastIndexOf(QLatin1Char('('));
    if (open < 0 || !text.endsWith(QLatin1Char(')')))
        return text;
    QStringView keys = QStringView(text).mid(open + 1);
    keys.chop(1);
    Qt::KeyboardModifiers modifiers;
    while (!keys.isEmpty() && modifierFor(keys.front()) != Qt::NoModifier) {
        modifiers |= modifierFor(keys.front());
        keys = keys.mid(1);
    }
    const Qt::Key key = keyFor(keys);
    if (modifiers == Qt::NoModifier || key == Qt::Key_unknown)
        return text;
    const QString native = QKeySequence(QKeyCombination(modifiers, key)).toString(QKeySequence::NativeText);
    return text.left(open + 1) + native + QLatin1Char(')');
}

} // namespace teskal
