#include "announce.h"

#include <QAccessibleWidget>
#include <QWidget>

namespace teskal {

namespace {

constexpr const char* roleProperty = "teskal.role";

/// Asked for every object there is, the web engine's among them, which are built in a way of their own: none
/// is touched that is not of a class of ours.
QAccessibleInterface* roleInterface(const QString& className, QObject* object) {
    if (!className.startsWith(QLatin1String("teskal::")) || !object->isWidgetType())
        return nullptr;
    const QVariant role = object->property(roleProperty);
    return role.isValid() ? new QAccessibleWidget(static_cast<QWidget*>(object),
                                                  static_cast<QAccessible::Role>(role.toInt()))
                          : nullptr;
}

} // namespace

void setAccessibleRole(QWidget& widget, QAccessible::Role role) {
    QAccessible::installFactory(roleInterface);
    widget.setProperty(roleProperty, static_cast<int>(role));
}

void makeAlert(QWidget& widget) {
    setAccessibleRole(widget, QAccessible::AlertMessage);
}

void announce(QWidget& widget) {
    if (!widget.isVisible())
        return;
    // The bridge to the desktop's screen readers passes on that something shows, but no alerts.
    for (const QAccessible::Event type : {QAccessible::Alert, QAccessible::ObjectShow}) {
        QAccessibleEvent event(&widget, type);
        QAccessible::updateAccessibility(&event);
    }
}

} // namespace teskal
