#include "FittingScrollArea.h"

#include <QEvent>
#include <QLayout>
#include <QScrollBar>

#include <algorithm>

namespace teskal {

FittingScrollArea::FittingScrollArea(QWidget* content, QWidget* parent)
    : QScrollArea(parent), margin_(content->layout()->contentsMargins().right()) {
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Preferred);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
    setWidget(content);
    // What lies below shows through: the window's page, or a sheet's card.
    viewport()->setAutoFillBackground(false);
    content->setAutoFillBackground(false);
    verticalScrollBar()->installEventFilter(this);
}

int FittingScrollArea::heightForWidth(int width) const {
    const QLayout* const layout = widget()->layout();
    // As it is without a scroll bar, whatever part of the margin one has now.
    const int yielded = margin_ - layout->contentsMargins().right();
    const int needed = layout->hasHeightForWidth() ? layout->totalHeightForWidth(width - yielded)
                                                   : layout->totalSizeHint().height();
    return std::max(needed, widget()->minimumHeight());
}

QSize FittingScrollArea::sizeHint() const {
    return widget()->layout()->totalSizeHint();
}

bool FittingScrollArea::eventFilter(QObject* watched, QEvent* event) {
    if (watched == verticalScrollBar() && (event->type() == QEvent::Show || event->type() == QEvent::Hide))
        yieldMargin();
    if (watched == widget() && event->type() == QEvent::LayoutRequest)
        updateGeometry();
    return QScrollArea::eventFilter(watched, event);
}

void FittingScrollArea::yieldMargin() {
    QMargins margins = widget()->layout()->contentsMargins();
    const int bar = verticalScrollBar()->isVisible() ? verticalScrollBar()->sizeHint().width() : 0;
    margins.setRight(std::max(0, margin_ - bar));
    widget()->layout()->setContentsMargins(margins);
}

} // namespace teskal
