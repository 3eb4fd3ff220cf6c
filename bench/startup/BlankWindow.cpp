// What the application's window is held against: an empty window of the toolkit's widgets, in a program of
// its own so that nothing else is loaded. Says "picture" when it has been painted.

#include "Picture.h"

#include <QApplication>
#include <QWidget>

using namespace teskal::bench;

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QWidget window;
    window.resize(windowSize);
    new FirstPicture(window, [] { say("picture"); });
    window.show();
    return QApplication::exec();
}
