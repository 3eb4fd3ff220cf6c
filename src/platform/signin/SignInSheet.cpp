#include "SignInSheet.h"

#include "SignInPage.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QStackedLayout>
#include <QVBoxLayout>
#include <QWebEngineProfile>
#include <QWebEngineSettings>
#include <QWebEngineView>

namespace teskal {

SignInSheet::SignInSheet(QWebEngineProfile& profile, const QUrl& page, QWidget* parent)
    : QDialog(parent), url_(page), view_(new QWebEngineView(this)), page_(new SignInPage(&profile, view_)),
      host_(new QLabel(this)), stack_(new QStackedLayout), failure_(new QWidget(this)) {
    setObjectName(QStringLiteral("signInSheet"));
    setWindowTitle(tr("Sign in with Passhold"));
    setWindowModality(Qt::WindowModal);
    resize(480, 640);

    page_->settings()->setAttribute(QWebEngineSettings::ErrorPageEnabled, false);
    page_->settings()->setAttribute(QWebEngineSettings::PluginsEnabled, false);
    page_->setBackgroundColor(palette().color(QPalette::Base));
    view_->setPage(page_);
    view_->setContextMenuPolicy(Qt::NoContextMenu);
    host_->setObjectName(QStringLiteral("host"));
    host_->setAlignment(Qt::AlignCenter);
    host_->setTextFormat(Qt::PlainText);

    auto* message =
        new QLabel(tr("The sign-in page didn’t load. Check your connection and try again."), failure_);
    message->setWordWrap(true);
    message->setAlignment(Qt::AlignCenter);
    auto* retry = new QPushButton(tr("Try Again"), failure_);
    retry->setObjectName(QStringLiteral("retry"));
    auto* failureColumn = new QVBoxLayout(failure_);
    failureColumn->addStretch();
    failureColumn->addWidget(message);
    failureColumn->addWidget(retry, 0, Qt::AlignCenter);
    failureColumn->addStretch();
    stack_->addWidget(view_);
    stack_->addWidget(failure_);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    // Return belongs to the provider's page.
    buttons->button(QDialogButtonBox::Cancel)->setAutoDefault(false);
    view_->setFocus();
    auto* column = new QVBoxLayout(this);
    column->addWidget(host_);
    column->addLayout(stack_, 1);
    column->addWidget(buttons);

    connect(buttons, &QDialogButtonBox::rejected, this, &SignInSheet::reject);
    connect(retry, &QPushButton::clicked, this, &SignInSheet::load);
    connect(page_, &SignInPage::calledBack, this, &SignInSheet::finish);
    connect(page_, &QWebEnginePage::urlChanged, this,
            [this](const QUrl& url) { host_->setText(url.host()); });
    connect(page_, &QWebEnginePage::loadFinished, this, &SignInSheet::onLoadFinished);
    load();
}

SignInSheet::~SignInSheet() {
    // The page must go before its profile, and before the view would try to use it.
    view_->setPage(nullptr);
    delete page_;
}

void SignInSheet::paintEvent(QPaintEvent* event) {
    QDialog::paintEvent(event);
    // A sheet without the desktop's frame still has an edge.
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
}

void SignInSheet::finish(const QUrl& link) {
    if (calledBack_)
        return;
    calledBack_ = true;
    Q_EMIT calledBack(link);
}

void SignInSheet::load() {
    stack_->setCurrentWidget(view_);
    view_->load(url_);
}

void SignInSheet::onLoadFinished(bool ok) {
    // Stopping at the callback link ends a load as failed, too.
    if (!ok && !calledBack_)
        stack_->setCurrentWidget(failure_);
}

} // namespace teskal
