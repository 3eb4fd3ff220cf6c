#include "Post.h"

#include <QCoreApplication>

namespace teskal {

void post(std::function<void()> action) {
    QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(action), Qt::QueuedConnection);
}

} // namespace teskal
