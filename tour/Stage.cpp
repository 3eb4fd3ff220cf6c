#include "Stage.h"

#include <QApplication>
#include <QScreen>
#include <QTest>
#include <QWebEnginePage>
#include <QWebEngineView>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace teskal::tour {

namespace {

constexpr int patienceMs = 30'000;
constexpr int settleMs = 700;

[[noreturn]] void giveUp(const QString& what) {
    std::fprintf(stderr, "the tour waited in vain for %s\n", qPrintable(what));
    std::exit(1);
}

} // namespace

Stage::Stage(QString folder, QString look) : folder_(std::move(folder)), look_(std::move(look)) {}

void Stage::waitFor(const QString& what, const std::function<bool()>& condition) const {
    if (!QTest::qWaitFor(condition, patienceMs))
        giveUp(what);
}

void Stage::settle() const {
    QTest::qWait(settleMs);
}

void Stage::picture(const QString& name, QWidget& window) const {
    const QString path = QStringLiteral("%1/%2-%3.png").arg(folder_, name, look_);
    // What is on the screen, dialogs over the window included.
    const QRect area = window.frameGeometry();
    const QPixmap shot = window.screen()->grabWindow(0, area.x(), area.y(), area.width(), area.height());
    if (shot.isNull() || !shot.save(path))
        giveUp(path);
}

void Stage::click(QWidget& widget) const {
    QTest::mouseMove(&widget);
    QTest::mouseClick(&widget, Qt::LeftButton);
}

void Stage::clickInPage(QWebEngineView& view, const QString& selector) const {
    QPoint centre(-1, -1);
    const QString script = QStringLiteral("(() => { const box = document.querySelector('%1')"
                                          ".getBoundingClientRect();"
                                          "return [box.x + box.width / 2, box.y + box.height / 2]; })()")
                               .arg(selector);
    view.page()->runJavaScript(script, [&centre](const QVariant& result) {
        const QVariantList found = result.toList();
        if (found.size() == 2)
            centre = QPointF(found[0].toDouble(), found[1].toDouble()).toPoint();
    });
    waitFor(selector, [&centre] { return centre.x() >= 0; });
    QTest::mouseClick(view.focusProxy(), Qt::LeftButton, Qt::NoModifier, centre);
}

void Stage::waitInPage(QWebEngineView& view, const QString& selector) const {
    const auto found = std::make_shared<bool>(false); // late replies come after the first
    waitFor(selector, [&view, &selector, found] {
        view.page()->runJavaScript(QStringLiteral("!!document.querySelector('%1')").arg(selector),
                                   [found](const QVariant& result) { *found = *found || result.toBool(); });
        return *found;
    });
}

QWidget& Stage::focusIn(QWidget& window) const {
    // Where no window manager runs, nobody gives the keyboard back to a window when its dialog is gone.
    if (!window.isActiveWindow())
        window.activateWindow();
    waitFor(QStringLiteral("something that takes the keyboard"),
            [&window] { return window.isActiveWindow() && QApplication::focusWidget(); });
    return *QApplication::focusWidget();
}

void Stage::type(QWidget& window, const QString& text) const {
    for (const QChar c : text)
        QTest::sendKeyEvent(QTest::Click, &focusIn(window), Qt::Key_unknown, QString(c), Qt::NoModifier);
}

void Stage::press(QWidget& window, Qt::Key key, Qt::KeyboardModifiers modifiers) const {
    QTest::keyClick(&focusIn(window), key, modifiers);
}

} // namespace teskal::tour
