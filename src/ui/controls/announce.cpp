#include "announce.h"

#include <QAccessibleWidget>
#include <QWidget>

namespace teskal {

namespace {

constexpr const char* alertProperty = "teskal.alert";

/// Asked for every object there is, the web engine's among them, which are built in a way of their own: none
/// is touched that is not of a class of ours.
QAccessibleInterface* alertInterface(const QString& className, QObject* object) {
    return className.startsWith(QLatin1String("teskal::")) && object->isWidgetType() &&
                   object->property(alertProperty).toBool()
               ? new QAccessibleWidget(static_cast<QWidget*>(object), QAccessible::AlertMessage)
               : nullptr;
}

} // namespace

void makeAlert(QWidget& widget) {
    QAccessible::installFactory(alertInterface);
    widget.setProperty(alertProperty, true);
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
