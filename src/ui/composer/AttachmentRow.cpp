#include "AttachmentRow.h"

#include "AttachmentChip.h"
#include "EdgeFade.h"
#include "theme/Theme.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QBoxLayout>
#include <QScrollBar>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace teskal {

namespace {

constexpr int chipGap = 4; ///< besides what a chip's button hangs over
constexpr int scrollMargin = 24;

QAccessibleInterface* rowInterface(const QString& className, QObject* object) {
    if (className != QLatin1String(AttachmentRow::staticMetaObject.className()) || !object->isWidgetType())
        return nullptr;
    return new QAccessibleWidget(static_cast<QWidget*>(object), QAccessible::List);
}

} // namespace

AttachmentRow::AttachmentRow(const Theme& theme, QWidget* parent)
    : QScrollArea(parent), theme_(theme), content_(new QWidget), leftEdge_(new EdgeFade(theme, false, this)),
      rightEdge_(new EdgeFade(theme, true, this)) {
    QAccessible::installFactory(rowInterface);
    setObjectName(QStringLiteral("attachmentRow"));
    setAccessibleName(tr("Attachments"));
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFixedHeight(AttachmentChip::fullHeight);
    viewport()->setAutoFillBackground(false);
    auto* row = new QHBoxLayout(content_);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(chipGap);
    row->setSizeConstraint(QLayout::SetFixedSize);
    setWidget(content_);
    content_->setAutoFillBackground(false);
    connect(horizontalScrollBar(), &QScrollBar::valueChanged, this, &AttachmentRow::showEdges);
    connect(horizontalScrollBar(), &QScrollBar::rangeChanged, this, [this] {
        if (followsEnd_)
            horizontalScrollBar()->setValue(horizontalScrollBar()->maximum());
        showEdges();
    });
}

void AttachmentRow::setFiles(const QList<ComposerFile>& files) {
    const auto stays = [&files](const AttachmentChip* chip) {
        return std::any_of(files.begin(), files.end(),
                           [chip](const ComposerFile& file) { return file.number == chip->number(); });
    };
    const qsizetype currentPlace = chips_.indexOf(current_);
    const bool focusGoes = current_ && current_->hasFocus() && !stays(current_);
    QList<AttachmentChip*> before;
    before.swap(chips_);
    bool grew = false;
    for (const ComposerFile& file : files) {
        const auto known = std::find_if(before.begin(), before.end(), [&file](const AttachmentChip* chip) {
            return chip->number() == file.number;
        });
        grew = grew || known == before.end();
        chips_.append(known == before.end() ? addChip(file) : *known);
        chips_.last()->setFile(file);
    }
    auto* row = static_cast<QHBoxLayout*>(content_->layout());
    for (qsizetype place = 0; place < chips_.size(); ++place) {
        row->removeWidget(chips_.at(place));
        row->insertWidget(static_cast<int>(place), chips_.at(place));
        chips_.at(place)->show();
    }
    orderTabs();

    if (!chips_.contains(current_))
        setCurrent(chips_.isEmpty() ? nullptr
                                    : chips_.at(std::clamp<qsizetype>(currentPlace, 0, chips_.size() - 1)));
    if (focusGoes && current_)
        focusChip(current_);
    else if (focusGoes)
        Q_EMIT focusHomeless();
    for (AttachmentChip* chip : before) {
        if (!chips_.contains(chip)) {
            chip->hide();
            chip->deleteLater();
        }
    }
    row->activate();
    if (grew) {
        followsEnd_ = true;
        horizontalScrollBar()->setValue(horizontalScrollBar()->maximum());
    }
    showEdges();
}

void AttachmentRow::orderTabs() {
    // Qt orders only what takes the focus at the time.
    setFocusPolicy(Qt::TabFocus);
    QWidget* before = this;
    for (AttachmentChip* chip : std::as_const(chips_)) {
        chip->setFocusPolicy(Qt::TabFocus);
        setTabOrder(before, chip);
        before = chip;
    }
    setFocusPolicy(Qt::NoFocus);
    for (AttachmentChip* chip : std::as_const(chips_))
        chip->setFocusPolicy(chip == current_ ? Qt::TabFocus : Qt::NoFocus);
}

AttachmentChip* AttachmentRow::addChip(const ComposerFile& file) {
    auto* chip = new AttachmentChip(theme_, file, content_);
    chip->installEventFilter(this);
    connect(chip, &AttachmentChip::removeRequested, this,
            [this, chip] { Q_EMIT removeRequested(chip->number()); });
    connect(chip, &AttachmentChip::stepRequested, this, [this, chip](int steps) { step(chip, steps); });
    return chip;
}

void AttachmentRow::step(AttachmentChip* from, int steps) {
    const qsizetype place = chips_.indexOf(from) + steps;
    if (place >= 0 && place < chips_.size())
        focusChip(chips_.at(place));
}

void AttachmentRow::focusChip(AttachmentChip* chip) {
    setCurrent(chip);
    chip->setFocus(Qt::TabFocusReason); // it came by keyboard, which the ring shows
}

bool AttachmentRow::eventFilter(QObject* watched, QEvent* event) {
    if (auto* chip = qobject_cast<AttachmentChip*>(watched); chip && event->type() == QEvent::FocusIn) {
        followsEnd_ = false;
        ensureWidgetVisible(chip, scrollMargin, 0);
    }
    return QScrollArea::eventFilter(watched, event);
}

void AttachmentRow::setCurrent(AttachmentChip* chip) {
    if (current_)
        current_->setFocusPolicy(Qt::NoFocus);
    current_ = chip;
    if (current_)
        current_->setFocusPolicy(Qt::TabFocus);
}

void AttachmentRow::wheelEvent(QWheelEvent* event) {
    // A wheel that turns only up and down moves the row along.
    const QPoint turn = event->pixelDelta().isNull() ? event->angleDelta() : event->pixelDelta();
    const int way = std::abs(turn.x()) > std::abs(turn.y()) ? turn.x() : turn.y();
    QScrollBar* bar = horizontalScrollBar();
    followsEnd_ = false;
    bar->setValue(bar->value() - way);
    event->accept();
}

void AttachmentRow::resizeEvent(QResizeEvent* event) {
    QScrollArea::resizeEvent(event);
    showEdges();
}

void AttachmentRow::showEdges() {
    const QScrollBar* bar = horizontalScrollBar();
    leftEdge_->setGeometry(0, 0, EdgeFade::reach, height());
    rightEdge_->setGeometry(width() - EdgeFade::reach, 0, EdgeFade::reach, height());
    leftEdge_->setVisible(bar->value() > bar->minimum());
    rightEdge_->setVisible(bar->value() < bar->maximum());
    leftEdge_->raise();
    rightEdge_->raise();
}

} // namespace teskal
