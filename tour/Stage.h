#pragma once

#include <QString>

#include <functional>

class QWebEngineView;
class QWidget;

namespace teskal::tour {

/// The user's hands and the camera: waits for what a person would wait for, types, clicks, takes pictures.
/// Whatever does not happen in time ends the process with a line that says what was awaited.
class Stage {
public:
    /// Pictures go to \a folder, named "<name>-<look>.png".
    Stage(QString folder, QString look);

    void waitFor(const QString& what, const std::function<bool()>& condition) const;
    /// Lets the screen settle: hover effects, fades and the page's own painting.
    void settle() const;
    void picture(const QString& name, QWidget& window) const;
    void click(QWidget& widget) const;
    /// Clicks the element that the CSS \a selector finds in the page.
    void clickInPage(QWebEngineView& view, const QString& selector) const;
    /// Waits until the CSS \a selector finds something in the page.
    void waitInPage(QWebEngineView& view, const QString& selector) const;
    /// Types into what has the focus in \a window.
    void type(QWidget& window, const QString& text) const;
    void press(QWidget& window, Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const;

private:
    QWidget& focusIn(QWidget& window) const;

    QString folder_;
    QString look_;
};

} // namespace teskal::tour
