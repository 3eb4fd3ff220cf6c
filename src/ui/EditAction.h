#pragma once

class QWidget;

namespace teskal {

/// The standard editing commands, which act on whatever has the focus.
enum class EditAction { Undo, Redo, Cut, Copy, Paste, SelectAll };

/// Performs \a action on the text field \a target. Returns false when it is not one.
bool performEdit(QWidget* target, EditAction action);

/// Whether performEdit() would do something now.
bool canEdit(const QWidget* target, EditAction action);

} // namespace teskal
