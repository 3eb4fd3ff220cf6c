#pragma once

#include "TranscriptBridge.h"

#include <QObject>

class QColor;
class QWidget;

namespace teskal {

/// The transcript page in a widget, whatever draws it. Main thread only.
class TranscriptPane : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    virtual PagePort& port() = 0;
    /// The pane's until somebody becomes its parent, who must not outlive the pane.
    virtual QWidget& widget() = 0;

    /// Look of the page before its first paint; also of every later load.
    virtual void setFirstLook(PageTheme theme, const QColor& background) = 0;
    /// The families that the page's text and code are set in.
    virtual void setFonts(const QString& text, const QString& code) = 0;
    /// Loads the page, and forgets how often its process ended.
    virtual void load() = 0;

    /// Marks every \a text, whatever its case, and goes to the first; an empty one ends the search.
    virtual void find(const QString& text) = 0;
    virtual void findNext() = 0;
    virtual void findPrevious() = 0;

    virtual void zoomIn() = 0;
    virtual void zoomOut() = 0;
    virtual void resetZoom() = 0;

    virtual void copy() = 0;
    virtual void selectAll() = 0;

    /// Has what takes the whole of the widget give it back.
    virtual void leaveFullScreen() = 0;

Q_SIGNALS:
    /// The user followed a link to the web or to a mail address.
    void linkActivated(const QString& url);
    /// The page is not loaded again by itself any more; load() does.
    void gaveUp();
    /// There are \a total places of what is searched for; the one that the reader was taken to is number
    /// \a active, from 1. Both are 0 when there is none.
    void counted(int active, int total);
    /// Something in the page, a video say, takes the whole of the widget and wants the screen; or no longer.
    void fullScreenChanged(bool full);
};

} // namespace teskal
