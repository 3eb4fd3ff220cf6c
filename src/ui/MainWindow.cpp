#include "MainWindow.h"

#include "TeskalCommands.h"
#include "chat/DetailView.h"
#include "composer/ComposerView.h"
#include "controls/KeyedSplitter.h"
#include "controls/ToastView.h"
#include "sheets/CreditsSheet.h"
#include "sidebar/SidebarView.h"
#include "signin/SignInView.h"
#include "theme/Metrics.h"
#include "theme/Theme.h"

#include <QCloseEvent>
#include <QMenuBar>
#include <QSettings>
#include <QShortcut>
#include <QShowEvent>
#include <QStackedWidget>

#include <algorithm>

namespace teskal {

namespace {

constexpr QSize defaultSize(1100, 760);
constexpr QSize leastSize(640, 480);
/// Narrower, the sidebar folds away.
constexpr int roomForSidebar = 720;
constexpr int detailLeast = 360;
constexpr int toastInset = 48;

const QString& geometryKey() {
    static const QString key = QStringLiteral("window/geometry");
    return key;
}

const QString& sidebarKey() {
    static const QString key = QStringLiteral("window/sidebar");
    return key;
}

const QString& splitterKey() {
    static const QString key = QStringLiteral("window/splitter");
    return key;
}

} // namespace

MainWindow::MainWindow(const Theme& theme, QSettings& settings, QWidget* parent)
    : QMainWindow(parent), theme_(theme), settings_(settings), commands_(new TeskalCommands(*menuBar())),
      pages_(new QStackedWidget(this)), loading_(new QWidget(pages_)),
      split_(new KeyedSplitter(tr("Width of the sidebar"), pages_)), sidebar_(new SidebarView(theme, split_)),
      detail_(new DetailView(theme, split_)), toast_(new ToastView(theme, pages_)),
      leave_(new QShortcut(Qt::Key_Escape, this)) {
    setWindowTitle(QStringLiteral("Teskal"));
    setMinimumSize(leastSize);
    setObjectName(QStringLiteral("main"));

    fillPages();
    bindCommands();
    connect(detail_, &DetailView::arranged, this, &MainWindow::placeToast);
    connect(split_, &QSplitter::splitterMoved, this, &MainWindow::placeToast);
    restoreLayout();
}

MainWindow::~MainWindow() = default;

void MainWindow::fillPages() {
    sidebar_->setMinimumWidth(metrics::sidebarLeast);
    sidebar_->setMaximumWidth(metrics::sidebarMost);
    detail_->setMinimumWidth(detailLeast);
    split_->addWidget(sidebar_);
    split_->addWidget(detail_);
    split_->handle(1)->setObjectName(QStringLiteral("sidebarEdge"));
    split_->setChildrenCollapsible(false);
    split_->setStretchFactor(0, 0);
    split_->setStretchFactor(1, 1);
    pages_->addWidget(loading_);
    pages_->addWidget(split_);
    setCentralWidget(pages_);
}

void MainWindow::bindCommands() {
    connect(commands_, &TeskalCommands::sidebarToggled, this, &MainWindow::toggleSidebar);
    connect(detail_, &DetailView::sidebarToggled, this, &MainWindow::toggleSidebar);
    connect(commands_, &TeskalCommands::searchRequested, this, &MainWindow::openSearch);
    connect(commands_, &TeskalCommands::fullScreenToggled, this,
            [this] { setWindowState(windowState() ^ Qt::WindowFullScreen); });
    leave_->setEnabled(false);
    connect(leave_, &QShortcut::activated, this, &MainWindow::leaveTranscriptAlone);
    connect(commands_, &TeskalCommands::minimizeRequested, this, &QWidget::showMinimized);
    connect(commands_, &TeskalCommands::closeRequested, this, &QWidget::close);
}

void MainWindow::setPage(Page page) {
    QWidget* const wanted = page == Page::Loading  ? loading_
                            : page == Page::SignIn ? static_cast<QWidget*>(&signIn())
                                                   : static_cast<QWidget*>(split_);
    if (pages_->currentWidget() == wanted)
        return;
    if (transcriptAlone_)
        leaveTranscriptAlone();
    pages_->setCurrentWidget(wanted);
    focusPage();
    placeToast();
}

MainWindow::Page MainWindow::page() const {
    const QWidget* const shown = pages_->currentWidget();
    return shown == loading_ ? Page::Loading : shown == split_ ? Page::Chats : Page::SignIn;
}

void MainWindow::present() {
    if (isMinimized())
        setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
}

void MainWindow::openSearch() {
    if (sidebar_->isHidden())
        toggleSidebar();
    sidebar_->focusSearch();
}

void MainWindow::toggleSidebar() {
    bool& wanted = narrow_ ? sidebarOverNarrow_ : sidebarWanted_;
    wanted = !wanted;
    foldSidebar();
}

void MainWindow::foldSidebar() {
    const bool narrow = width() < roomForSidebar;
    if (narrow != narrow_) {
        narrow_ = narrow;
        sidebarOverNarrow_ = false;
    }
    const bool shown = (narrow_ ? sidebarOverNarrow_ : sidebarWanted_) && !transcriptAlone_;
    if (shown == !sidebar_->isHidden())
        return;
    const bool hadFocus = sidebar_->isAncestorOf(focusWidget()) || split_->handle(1)->hasFocus();
    sidebar_->setVisible(shown);
    if (hadFocus)
        focusPage();
    commands_->setSidebarShown(shown);
    detail_->setSidebarShown(shown);
}

void MainWindow::setTranscript(QWidget* transcript, std::function<void(EditAction)> edit) {
    detail_->setTranscript(transcript);
    commands_->setEditArea(transcript, std::move(edit));
}

void MainWindow::setTranscriptAlone(bool alone) {
    if (alone == transcriptAlone_)
        return;
    transcriptAlone_ = alone;
    leave_->setEnabled(alone);
    menuBar()->setVisible(!alone);
    detail_->setTranscriptAlone(alone);
    foldSidebar();
    if (alone)
        fullScreenBefore_ = isFullScreen();
    if (!fullScreenBefore_)
        setWindowState(windowState().setFlag(Qt::WindowFullScreen, alone));
}

void MainWindow::leaveTranscriptAlone() {
    setTranscriptAlone(false);
    Q_EMIT transcriptAloneLeft();
}

SignInView& MainWindow::signIn() {
    if (!signIn_) {
        signIn_ = new SignInView(theme_, pages_);
        pages_->addWidget(signIn_);
        toast_->raise();
    }
    return *signIn_;
}

CreditsSheet& MainWindow::credits() {
    if (!credits_) {
        credits_ = new CreditsSheet(theme_, *this);
        connect(credits_, &SheetFrame::focusHomeless, this, &MainWindow::focusPage);
    }
    return *credits_;
}

void MainWindow::focusPage() {
    if (page() == Page::SignIn)
        signIn().focusButton();
    else if (page() == Page::Chats)
        detail_->composer().focusText();
}

void MainWindow::placeToast() {
    if (page() == Page::Chats)
        toast_->setAnchor(detail_->mapTo(pages_, detail_->toastAnchor()),
                          std::min(metrics::column, detail_->width() - 2 * metrics::air));
    else
        toast_->setAnchor({pages_->width() / 2, pages_->height() - toastInset},
                          std::min(metrics::column, pages_->width() - 2 * metrics::air));
}

void MainWindow::restoreLayout() {
    if (!restoreGeometry(settings_.value(geometryKey()).toByteArray()))
        resize(defaultSize);
    if (!split_->restoreState(settings_.value(splitterKey()).toByteArray()))
        split_->setSizes({metrics::sidebarDefault, defaultSize.width() - metrics::sidebarDefault});
    split_->setHandleWidth(KeyedSplitter::line); // the state has one of its own
    sidebarWanted_ = settings_.value(sidebarKey(), true).toBool();
    foldSidebar();
}

void MainWindow::saveLayout() {
    settings_.setValue(geometryKey(), saveGeometry());
    settings_.setValue(splitterKey(), split_->saveState());
    settings_.setValue(sidebarKey(), sidebarWanted_);
}

void MainWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    if (!event->spontaneous())
        focusPage();
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (transcriptAlone_)
        leaveTranscriptAlone(); // that state of the window is not the user's choice
    saveLayout();
    QMainWindow::closeEvent(event);
}

void MainWindow::resizeEvent(QResizeEvent* event) {
    QMainWindow::resizeEvent(event);
    foldSidebar();
    placeToast();
}

void MainWindow::changeEvent(QEvent* event) {
    if (event->type() == QEvent::WindowStateChange)
        commands_->setFullScreen(isFullScreen());
    if (event->type() == QEvent::WindowStateChange && transcriptAlone_ && !isFullScreen())
        leaveTranscriptAlone(); // by way of the desktop
    QMainWindow::changeEvent(event);
}

} // namespace teskal
