#pragma once

#include <QAccessible>

class QWidget;

namespace teskal {

/// Gives \a widget \a role in the accessibility tree. It is of a class of this program, with Q_OBJECT.
void setAccessibleRole(QWidget& widget, QAccessible::Role role);

/// Gives \a widget the alert role in the accessibility tree: screen readers speak such an object when it
/// shows. It is of a class of this program, with Q_OBJECT.
void makeAlert(QWidget& widget);

/// Has screen readers speak the accessible name of \a widget, an alert whose text has changed while it shows.
/// One that does not show says nothing yet: it is spoken when it appears.
void announce(QWidget& widget);

} // namespace teskal
