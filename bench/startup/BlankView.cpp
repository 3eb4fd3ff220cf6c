// What the application's transcript is held against: a window with a blank page in the web engine and, below
// it, a text field that has the focus. Says "picture" when the window has been painted and "transcript" when
// the page has.

#include "Picture.h"

#include <QApplication>
#include <QLineEdit>
#include <QVBoxLayout>
#include <QWebEnginePage>
#include <QWebEngineProfile>
#include <QWebEngineView>
#include <QWidget>

using namespace teskal::bench;

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QWebEngineProfile profile;
    QWebEnginePage page(&profile);
    QWidget window;
    auto* view = new QWebEngineView;
    view->setPage(&page);
    auto* field = new QLineEdit;
    auto* layout = new QVBoxLayout(&window);
    layout->addWidget(view);
    layout->addWidget(field);
    window.resize(windowSize);
    new FirstPicture(window, [] { say("picture"); });
    window.show();
    window.activateWindow();
    field->setFocus();
    QObject::connect(&page, &QWebEnginePage::titleChanged, &page, [](const QString& title) {
        if (title == QLatin1String("painted"))
            say("transcript");
    });
    // The first frame draws the page; when the next one begins, it has been drawn.
    page.setHtml(QStringLiteral("<!doctype html><meta charset=utf-8><title>blank</title><script>"
                                "requestAnimationFrame(() => requestAnimationFrame("
                                "() => { document.title = 'painted'; }))</script>"));
    return QApplication::exec();
}
