#include "Picture.h"

#include <QEvent>
#include <QGuiApplication>
#include <QTimer>
#include <QWidget>

#include <cstdio>

namespace teskal::bench {

void say(const char* word) {
    std::puts(word);
    std::fflush(stdout);
}

FirstPicture::FirstPicture(QWidget& window, std::function<void()> done)
    : QObject(&window), done_(std::move(done)) {
    window.installEventFilter(this);
}

bool FirstPicture::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Paint) {
        watched->removeEventFilter(this);
        // The children follow within the same event.
        QTimer::singleShot(0, this, [this] {
            QGuiApplication::sync(); // the picture may still be on its way to the display
            done_();
        });
    }
    return QObject::eventFilter(watched, event);
}

} // namespace teskal::bench
