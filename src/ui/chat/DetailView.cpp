#include "DetailView.h"

#include "DropTarget.h"
#include "EmptyChatView.h"
#include "FindBar.h"
#include "PrivateBadge.h"
#include "TranscriptLostView.h"
#include "composer/ComposerTextView.h"
#include "composer/ComposerView.h"
#include "composer/IncomingContent.h"
#include "controls/IconButton.h"
#include "controls/InkLabel.h"
#include "theme/Metrics.h"
#include "theme/SoftShadow.h"
#include "theme/Theme.h"

#include <QApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QHBoxLayout>
#include <QMimeData>
#include <QPainter>

#include <algorithm>

namespace teskal {

namespace {

constexpr int titleGap = 6;
constexpr int buttonGap = 4;
constexpr int badgeGap = 8;
constexpr int barInset = 12;
constexpr int noteHeight = 35;
constexpr int stopSymbolSize = 13;
constexpr int greetingGap = 26;
constexpr int transcriptGap = 8;
constexpr int toastGap = 32;
constexpr int findBarWidth = 380;
constexpr int findBarGap = 8;
/// Keeps the bar off the page's scroll bar.
constexpr int findBarInset = 18;

/// Files and images are copied into the message; anything else is no business of this view.
bool offerCopy(QDropEvent& event) {
    const auto kind = IncomingContent::kindOf(*event.mimeData());
    const bool taken = (kind == IncomingContent::Kind::Files || kind == IncomingContent::Kind::Image) &&
                       event.possibleActions().testFlag(Qt::CopyAction);
    event.setDropAction(taken ? Qt::CopyAction : Qt::IgnoreAction);
    event.setAccepted(taken);
    return taken;
}

QRect between(const QRect& from, const QRect& to, double share) {
    const auto mix = [share](int a, int b) { return qRound(a + (b - a) * share); };
    return {mix(from.x(), to.x()), mix(from.y(), to.y()), mix(from.width(), to.width()),
            mix(from.height(), to.height())};
}

} // namespace

DetailView::DetailView(const Theme& theme, QWidget* parent)
    : QWidget(parent), theme_(theme), bar_(new QWidget(this)),
      title_(new InkLabel(theme, TextRole::BodyStrong, &Ink::fg, bar_)),
      sidebarButton_(new IconButton(theme, QStringLiteral("sidebar.left"), tr("Hide sidebar"), bar_)),
      badge_(new PrivateBadge(theme, bar_)),
      stop_(new IconButton(theme, QStringLiteral("stop.fill"), tr("Stop the answer (⌘.)"), bar_)),
      newPrivate_(
          new IconButton(theme, QStringLiteral("eye.slash"), tr("New private chat, not saved (⇧⌘N)"), bar_)),
      newChat_(new IconButton(theme, QStringLiteral("square.and.pencil"), tr("New chat (⌘N)"), bar_)),
      greeting_(new EmptyChatView(theme, this)), lost_(new TranscriptLostView(theme, this)),
      findBar_(new FindBar(theme, this)), composer_(new ComposerView(theme, this)),
      note_(new InkLabel(theme, TextRole::Note, &Ink::muted, this)),
      dropTarget_(new DropTarget(theme, this)) {
    setObjectName(QStringLiteral("detail"));
    setAcceptDrops(true);
    fillBar();

    note_->setText(tr("Teskal can make mistakes. Check important information."));
    note_->setAlignment(Qt::AlignCenter);

    travel_.setStartValue(0.0);
    travel_.setEndValue(0.0);
    travel_.setEasingCurve(QEasingCurve::OutCubic);
    composer_->setLarge(true);
    connect(&travel_, &QVariantAnimation::valueChanged, this, &DetailView::arrange);
    connect(composer_, &ComposerView::cardHeightChanged, this, &DetailView::arrange);
    connect(stop_, &QAbstractButton::clicked, this, &DetailView::stopRequested);
    connect(lost_, &TranscriptLostView::reloadRequested, this, &DetailView::reloadRequested);
    connect(findBar_, &FindBar::focusHomeless, composer_, &ComposerView::focusText);
    connect(&theme, &Theme::changed, this, qOverload<>(&QWidget::update));
}

void DetailView::fillBar() {
    title_->setObjectName(QStringLiteral("chatTitle"));
    title_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    sidebarButton_->setObjectName(QStringLiteral("sidebarButton"));
    setSidebarShown(true);
    badge_->hide();
    stop_->setObjectName(QStringLiteral("stopButton"));
    stop_->setLook(IconButton::Look::Toned);
    stop_->setSymbolSize(stopSymbolSize);
    stop_->hide();
    newPrivate_->setObjectName(QStringLiteral("newPrivateChatButton"));
    newPrivate_->setAccessibleName(tr("New Private Chat"));
    newPrivate_->setAccessibleDescription(tr("Not saved"));
    newChat_->setObjectName(QStringLiteral("newChatButton"));

    auto* row = new QHBoxLayout(bar_);
    row->setContentsMargins(barInset, 0, barInset, 0);
    row->setSpacing(buttonGap);
    row->addWidget(sidebarButton_);
    row->addSpacing(titleGap);
    row->addWidget(title_, 1);
    row->addWidget(badge_);
    row->addSpacing(badgeGap);
    row->addWidget(stop_);
    row->addWidget(newPrivate_);
    row->addWidget(newChat_);

    connect(sidebarButton_, &QAbstractButton::clicked, this, &DetailView::sidebarToggled);
    connect(newPrivate_, &QAbstractButton::clicked, this, &DetailView::newPrivateChatRequested);
    connect(newChat_, &QAbstractButton::clicked, this, &DetailView::newChatRequested);
}

void DetailView::setTranscript(QWidget* transcript) {
    transcript_ = transcript;
    transcript_->setParent(this);
    transcript_->stackUnder(lost_);
    transcript_->installEventFilter(this);
    orderTabs();
    showTranscript();
    arrange();
}

void DetailView::orderTabs() {
    // Between the bar and the composer, as it is seen: the transcript and then what takes its keys. Qt moves
    // the two apart from each other only while one does not stand for the other.
    QWidget* const keys = transcript_->focusProxy();
    transcript_->setFocusProxy(nullptr);
    if (keys)
        QWidget::setTabOrder(newChat_, keys);
    QWidget::setTabOrder(newChat_, transcript_);
    transcript_->setFocusProxy(keys);
}

bool DetailView::eventFilter(QObject* watched, QEvent* event) {
    // What takes the transcript's keys comes only with the page, and anew with every process of it.
    if (event->type() == QEvent::ChildAdded)
        QMetaObject::invokeMethod(this, &DetailView::orderTabs, Qt::QueuedConnection);
    return QWidget::eventFilter(watched, event);
}

void DetailView::setTranscriptLost(bool lost) {
    if (lost == transcriptLost_)
        return;
    const QWidget* const focus = QApplication::focusWidget();
    const bool hadFocus = focus && transcript_ && (focus == transcript_ || transcript_->isAncestorOf(focus));
    transcriptLost_ = lost;
    showTranscript();
    if (lost && hadFocus)
        lost_->focusButton();
}

void DetailView::showTranscript() {
    lost_->setVisible(transcriptLost_ && !empty_);
    if (transcript_)
        transcript_->setVisible(!transcriptLost_ && !empty_);
    findBar_->setAvailable(!transcriptLost_ && !empty_ && !transcriptAlone_);
}

void DetailView::setTranscriptAlone(bool alone) {
    transcriptAlone_ = alone;
    for (QWidget* beside : {bar_, static_cast<QWidget*>(composer_), static_cast<QWidget*>(note_)})
        beside->setVisible(!alone);
    showTranscript();
    arrange();
}

void DetailView::setTitle(const QString& title) {
    fullTitle_ = title.section(QLatin1Char('\n'), 0, 0).trimmed();
    elideTitle();
}

void DetailView::setBusy(bool busy) {
    stop_->setVisible(busy);
    composer_->setBusy(busy);
    bar_->layout()->activate();
    elideTitle();
}

void DetailView::setEmpty(bool empty) {
    if (empty == empty_)
        return;
    empty_ = empty;
    showTranscript();
    composer_->setLarge(empty);
    const double from = travel_.currentValue().toDouble();
    travel_.stop();
    travel_.setStartValue(from);
    travel_.setEndValue(empty ? 0.0 : 1.0);
    // Downwards it follows the message that was sent; the way back is another chat and needs no journey.
    travel_.setDuration(empty || !isVisible() ? 0 : theme_.motion(metrics::motion));
    travel_.start();
    arrange();
}

void DetailView::setPrivate(bool isPrivate) {
    private_ = isPrivate;
    badge_->setVisible(isPrivate);
    greeting_->setPrivate(isPrivate);
    arrange();
}

void DetailView::setSidebarShown(bool shown) {
    const QString help = shown ? tr("Hide sidebar") : tr("Show sidebar");
    sidebarButton_->setToolTip(help);
    sidebarButton_->setAccessibleName(help);
}

QPoint DetailView::toastAnchor() const {
    const QRect docked = dockedComposer();
    return empty_ ? QPoint(docked.center().x(), height() - noteHeight - metrics::air)
                  : QPoint(docked.center().x(), docked.top() - toastGap);
}

QRect DetailView::dockedComposer() const {
    const int width = std::min(metrics::column, this->width() - 2 * metrics::air);
    const int height = composer_->cardHeight();
    return {(this->width() - width) / 2, this->height() - noteHeight - height, width, height};
}

QRect DetailView::centredComposer() const {
    const int width = std::min(metrics::emptyColumn, this->width() - 2 * metrics::air);
    const int height = composer_->cardHeight();
    const int above = greeting_->heightForWidth(this->width()) + greetingGap;
    const int room = this->height() - metrics::toolbar - noteHeight;
    // A little above the middle, where the eye expects it.
    const int wanted =
        metrics::toolbar + std::max(0, static_cast<int>((room - above - height) * 0.46)) + above;
    // A long draft in a low window pushes the greeting away, not itself out of view.
    const int top = std::min(wanted, this->height() - noteHeight - height);
    return {(this->width() - width) / 2, top, width, height};
}

QRect DetailView::transcriptPlace() const {
    if (transcriptAlone_)
        return rect();
    const int height = dockedComposer().top() - transcriptGap - metrics::toolbar;
    return {0, metrics::toolbar, width(), std::max(0, height)};
}

void DetailView::arrange() {
    bar_->setGeometry(0, 0, width(), metrics::toolbar);
    note_->setGeometry(0, height() - noteHeight, width(), noteHeight);
    const QRect centred = centredComposer();
    const QRect docked = dockedComposer();
    const int greetingHeight = greeting_->heightForWidth(width());
    const int greetingTop = centred.top() - greetingGap - greetingHeight;
    greeting_->setVisible(empty_ && greetingTop >= metrics::toolbar);
    greeting_->setGeometry(0, greetingTop, width(), greetingHeight);
    const QRect transcript = transcriptPlace();
    if (transcript_ != nullptr)
        transcript_->setGeometry(transcript);
    lost_->setGeometry(transcript);
    const int barWidth = std::min(findBarWidth, width() - 2 * findBarInset);
    findBar_->setGeometry(width() - findBarInset - barWidth, transcript.top() + findBarGap, barWidth,
                          findBar_->sizeHint().height());
    composer_->setGeometry(between(centred, docked, travel_.currentValue().toDouble()));
    elideTitle();
    update();
    Q_EMIT arranged();
}

void DetailView::elideTitle() {
    bar_->layout()->activate();
    const QString title = private_ ? QString() : fullTitle_; // the badge says it
    title_->setText(title_->fontMetrics().elidedText(title, Qt::ElideRight, title_->width()));
    title_->setAccessibleName(title);
}

void DetailView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    arrange();
}

void DetailView::dragEnterEvent(QDragEnterEvent* event) {
    if (!offerCopy(*event))
        return;
    dropTarget_->setGeometry(rect());
    dropTarget_->raise();
    dropTarget_->show();
}

void DetailView::dragMoveEvent(QDragMoveEvent* event) {
    offerCopy(*event);
}

void DetailView::dragLeaveEvent(QDragLeaveEvent* event) {
    dropTarget_->hide();
    event->accept();
}

void DetailView::dropEvent(QDropEvent* event) {
    dropTarget_->hide();
    if (!offerCopy(*event))
        return;
    const IncomingContent content = IncomingContent::read(*event->mimeData());
    if (content.kind == IncomingContent::Kind::Files)
        Q_EMIT filesDropped(content.files);
    else
        Q_EMIT imageDropped(content.image);
}

void DetailView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), theme_.ink().page);
    paintSoftShadow(painter, composer_->geometry(), metrics::radiusComposer, theme_.ink().dark);
}

} // namespace teskal
