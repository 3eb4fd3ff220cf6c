#include "KeyedSplitter.h"

#include "announce.h"
#include "theme/Metrics.h"

#include <QKeyEvent>

namespace teskal {

namespace {

constexpr int step = 16;

} // namespace

class KeyedSplitterHandle final : public QSplitterHandle {
    Q_OBJECT

public:
    KeyedSplitterHandle(const QString& name, QSplitter* parent) : QSplitterHandle(Qt::Horizontal, parent) {
        setFocusPolicy(Qt::TabFocus);
        setAccessibleRole(*this, QAccessible::Separator);
        setAccessibleName(name);
    }

protected:
    void focusInEvent(QFocusEvent* event) override {
        QSplitterHandle::focusInEvent(event);
        splitter()->setHandleWidth(metrics::focusRing);
    }

    void focusOutEvent(QFocusEvent* event) override {
        QSplitterHandle::focusOutEvent(event);
        splitter()->setHandleWidth(KeyedSplitter::line);
    }

    void keyPressEvent(QKeyEvent* event) override {
        switch (event->key()) {
        case Qt::Key_Left:
            moveBy(-step);
            break;
        case Qt::Key_Right:
            moveBy(step);
            break;
        case Qt::Key_Home:
            moveSplitter(0);
            break;
        case Qt::Key_End:
            moveSplitter(splitter()->width());
            break;
        default:
            QSplitterHandle::keyPressEvent(event);
        }
    }

private:
    void moveBy(int pixels) {
        // Places are of the edge from which the window is laid out. What lies around the line is for the
        // pointer.
        const QRect line = contentsRect().translated(pos());
        moveSplitter((isRightToLeft() ? line.x() + line.width() : line.x()) + pixels);
    }
};

KeyedSplitter::KeyedSplitter(const QString& name, QWidget* parent)
    : QSplitter(Qt::Horizontal, parent), name_(name) {
    setHandleWidth(line);
}

QSplitterHandle* KeyedSplitter::createHandle() {
    return new KeyedSplitterHandle(name_, this);
}

} // namespace teskal

#include "KeyedSplitter.moc"
