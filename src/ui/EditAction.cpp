#include "EditAction.h"

#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextEdit>

namespace teskal {

namespace {

template<class Field>
void perform(Field& field, EditAction action) {
    switch (action) {
    case EditAction::Undo:
        return field.undo();
    case EditAction::Redo:
        return field.redo();
    case EditAction::Cut:
        return field.cut();
    case EditAction::Copy:
        return field.copy();
    case EditAction::Paste:
        return field.paste();
    case EditAction::SelectAll:
        return field.selectAll();
    }
}

struct Ability {
    bool undo;
    bool redo;
    bool selection;
    bool writable;
    bool text;
};

bool allows(const Ability& ability, EditAction action) {
    switch (action) {
    case EditAction::Undo:
        return ability.writable && ability.undo;
    case EditAction::Redo:
        return ability.writable && ability.redo;
    case EditAction::Cut:
        return ability.writable && ability.selection;
    case EditAction::Copy:
        return ability.selection;
    case EditAction::Paste:
        return ability.writable;
    case EditAction::SelectAll:
        return ability.text;
    }
    return false;
}

template<class Area>
Ability abilityOf(const Area& area) {
    return {.undo = area.document()->isUndoAvailable(),
            .redo = area.document()->isRedoAvailable(),
            .selection = area.textCursor().hasSelection(),
            .writable = !area.isReadOnly(),
            .text = !area.document()->isEmpty()};
}

} // namespace

bool performEdit(QWidget* target, EditAction action) {
    if (auto* plain = qobject_cast<QPlainTextEdit*>(target))
        perform(*plain, action);
    else if (auto* rich = qobject_cast<QTextEdit*>(target))
        perform(*rich, action);
    else if (auto* line = qobject_cast<QLineEdit*>(target))
        perform(*line, action);
    else
        return false;
    return true;
}

bool canEdit(const QWidget* target, EditAction action) {
    if (const auto* plain = qobject_cast<const QPlainTextEdit*>(target))
        return allows(abilityOf(*plain), action);
    if (const auto* rich = qobject_cast<const QTextEdit*>(target))
        return allows(abilityOf(*rich), action);
    if (const auto* line = qobject_cast<const QLineEdit*>(target))
        return allows({.undo = line->isUndoAvailable(),
                       .redo = line->isRedoAvailable(),
                       .selection = line->hasSelectedText(),
                       .writable = !line->isReadOnly(),
                       .text = !line->text().isEmpty()},
                      action);
    return false;
}

} // namespace teskal
