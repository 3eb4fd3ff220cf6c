#include "SettingsWindow.h"

#include "SettingsTabBar.h"
#include "SignedOutSettings.h"
#include "controls/FittingScrollArea.h"
#include "dialogs/ConfirmDialog.h"
#include "icons/TeskalMark.h"
#include "theme/Theme.h"

#include <QKeyEvent>
#include <QPushButton>
#include <QScreen>
#include <QSettings>
#include <QShortcut>
#include <QStackedWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace teskal {

namespace {

constexpr int windowWidth = 618;
constexpr int leastPane = 240;
constexpr int mostPane = 560;
constexpr int frameRoom = 60; ///< of the screen, for what the desktop puts around the window

const QString& tabKey() {
    static const QString key = QStringLiteral("settings/tab");
    return key;
}

} // namespace

SettingsWindow::SettingsWindow(const Theme& theme, QSettings& settings, QWidget* parent)
    : QWidget(parent, Qt::Window), theme_(theme), settings_(settings), tabs_(new SettingsTabBar(theme, this)),
      pages_(new QStackedWidget(this)), general_(new GeneralSettings(theme)),
      privacy_(new PrivacySettings(theme)), models_(new ModelSettings(theme)),
      noPrivacy_(new SignedOutSettings(theme, PrivacySettings::purpose())),
      noModels_(new SignedOutSettings(theme, ModelSettings::purpose())) {
    setObjectName(QStringLiteral("settings"));
    setWindowTitle(tr("Settings"));
    setWindowIcon(TeskalMark::icon());
    for (QWidget* pane : std::initializer_list<QWidget*>{general_, privacy_, models_, noPrivacy_, noModels_})
        addPage(pane);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(tabs_);
    column->addWidget(pages_, 1);

    tabs_->setCurrent(settingsTabNamed(settings.value(tabKey()).toString()));
    connect(tabs_, &SettingsTabBar::currentChanged, this, &SettingsWindow::tabChosen);
    for (const SignedOutSettings* pane : {noPrivacy_, noModels_})
        connect(pane, &SignedOutSettings::signInRequested, this, &SettingsWindow::signInRequested);
    connect(general_, &GeneralSettings::signInRequested, this, &SettingsWindow::signInRequested);
    addKey(QKeySequence(Qt::CTRL | Qt::Key_W), &SettingsWindow::requestClose);
    addKey(QKeySequence(Qt::CTRL | Qt::Key_Q), &SettingsWindow::quitRequested);
    showPane();
}

SettingsWindow::~SettingsWindow() = default;

int SettingsWindow::addPage(QWidget* pane) {
    pane->installEventFilter(this);
    return pages_->addWidget(new FittingScrollArea(pane, pages_));
}

void SettingsWindow::addKey(const QKeySequence& key, void (SettingsWindow::*act)()) {
    connect(new QShortcut(key, this), &QShortcut::activated, this, act);
}

SettingsTab SettingsWindow::tab() const {
    return tabs_->current();
}

void SettingsWindow::setTab(SettingsTab tab) {
    tabs_->setCurrent(tab);
}

void SettingsWindow::tabChosen(SettingsTab tab) {
    settings_.setValue(tabKey(), QString(settingsTabName(tab)));
    Q_EMIT left();
    showPane();
    if (isVisible() && signedIn_ && tab != SettingsTab::General)
        Q_EMIT accountShown();
}

void SettingsWindow::setSignedIn(bool signedIn) {
    if (signedIn == signedIn_)
        return;
    signedIn_ = signedIn;
    showPane();
    if (isVisible() && signedIn && tab() != SettingsTab::General)
        Q_EMIT accountShown();
}

void SettingsWindow::setSignIn(bool signingIn, const QString& error) {
    noPrivacy_->setState(signingIn, error);
    noModels_->setState(signingIn, error);
}

void SettingsWindow::showPane() {
    QWidget* pane = general_;
    if (tab() == SettingsTab::Privacy)
        pane = signedIn_ ? static_cast<QWidget*>(privacy_) : noPrivacy_;
    else if (tab() == SettingsTab::Models)
        pane = signedIn_ ? static_cast<QWidget*>(models_) : noModels_;
    // The pane lies in its scroll area's viewport.
    pages_->setCurrentWidget(pane->parentWidget()->parentWidget());
    fit();
}

void SettingsWindow::fit() {
    if (fitting_)
        return;
    fitting_ = true;
    const int room = screen() ? screen()->availableSize().height() - frameRoom : mostPane;
    const int wanted = pages_->currentWidget()->heightForWidth(windowWidth);
    const int most = std::min(mostPane, room - tabs_->sizeHint().height());
    setFixedSize(windowWidth,
                 tabs_->sizeHint().height() + std::clamp(wanted, std::min(leastPane, most), most));
    fitting_ = false;
}

void SettingsWindow::confirmDeleteAll(const QString& host) {
    if (question_)
        return;
    question_ = new ConfirmDialog(theme_, tr("Delete all chats everywhere?"),
                                  tr("Conversations are saved on this Mac for the signed-in account. They "
                                     "sync with %1 and your other devices. Deleting them here deletes them "
                                     "everywhere.\n\nThis can’t be undone.")
                                      .arg(host),
                                  *this);
    connect(question_, &ConfirmDialog::cancelled, this, &SettingsWindow::withdrawQuestion);
    connect(question_, &ConfirmDialog::confirmed, this, [this] {
        withdrawQuestion();
        Q_EMIT deleteAllConfirmed();
    });
    question_->open();
}

void SettingsWindow::withdrawQuestion() {
    if (!question_)
        return;
    question_->dismiss();
    question_->deleteLater();
    question_.clear();
}

bool SettingsWindow::eventFilter(QObject* watched, QEvent* event) {
    // After the pane's own layout has heard of it.
    if (event->type() == QEvent::LayoutRequest)
        QMetaObject::invokeMethod(this, &SettingsWindow::fit, Qt::QueuedConnection);
    return QWidget::eventFilter(watched, event);
}

void SettingsWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        close();
        return;
    }
    // Plain push buttons leave Return to a dialog, which this is not.
    auto* button = qobject_cast<QPushButton*>(focusWidget());
    if (button && (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter))
        button->click();
    else
        QWidget::keyPressEvent(event);
}

void SettingsWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (event->spontaneous())
        return;
    fit();
    if (signedIn_ && tab() != SettingsTab::General)
        Q_EMIT accountShown();
}

void SettingsWindow::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    if (event->spontaneous())
        return;
    withdrawQuestion();
    Q_EMIT left();
}

} // namespace teskal
