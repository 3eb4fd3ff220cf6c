// A start of the application as far as the single instance is concerned: FOLDER [ARGUMENTS…].
// Ends with 0 when the running instance was told, 3 when this is the first one.

#include "CallbackLink.h"
#include "SingleInstance.h"

#include <QCoreApplication>

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    teskal::SingleInstance instance(arguments.value(1));
    if (instance.claim())
        return 3;
    const auto link = teskal::callbackLinkIn(arguments.mid(2));
    auto message = link ? teskal::InstanceMessage::openLink(*link) : teskal::InstanceMessage::activate();
    message.setActivationToken("token-1");
    return instance.tell(message) ? 0 : 1;
}
