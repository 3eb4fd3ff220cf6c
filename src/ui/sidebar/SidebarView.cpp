#include "SidebarView.h"

#include "AccountFooter.h"
#include "ChatListView.h"
#include "RowButton.h"
#include "controls/InkLabel.h"
#include "controls/keyHint.h"
#include "theme/Metrics.h"
#include "theme/Theme.h"

#include <QPainter>
#include <QVBoxLayout>

namespace teskal {

SidebarView::SidebarView(const Theme& theme, QWidget* parent) : QWidget(parent), theme_(theme) {
    setObjectName(QStringLiteral("sidebar"));
    auto* newChat = new RowButton(theme, QStringLiteral("square.and.pencil"), tr("New Chat"), this);
    newChat->setObjectName(QStringLiteral("sidebarNewChat"));
    newChat->setToolTip(keyHint(tr("New chat (⌘N)")));
    list_ = new ChatListView(theme, this);
    emptyHint_ = new InkLabel(theme, TextRole::Quiet, &Ink::subtle, this);
    emptyHint_->setObjectName(QStringLiteral("emptyHint"));
    emptyHint_->setText(tr("Your chats will appear here."));
    emptyHint_->setContentsMargins(metrics::margin + 6, 8, metrics::margin, 0);
    emptyHint_->setWordWrap(true);
    footer_ = new AccountFooter(theme, this);

    auto* head = new QVBoxLayout;
    head->setContentsMargins(8, 7, 8, 7);
    head->addWidget(newChat);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addLayout(head);
    column->addWidget(emptyHint_);
    column->addWidget(list_, 1);
    column->addWidget(footer_);

    connect(newChat, &QAbstractButton::clicked, this, &SidebarView::newChatRequested);
    connect(footer_, &AccountFooter::signOutRequested, this, &SidebarView::signOutRequested);
    connect(&theme, &Theme::changed, this, qOverload<>(&QWidget::update));
}

void SidebarView::setModel(QAbstractItemModel* model) {
    if (list_->model() != nullptr)
        list_->model()->disconnect(this, nullptr);
    list_->setModel(model);
    if (model != nullptr) {
        connect(model, &QAbstractItemModel::rowsInserted, this, &SidebarView::showEmptyHint);
        connect(model, &QAbstractItemModel::rowsRemoved, this, &SidebarView::showEmptyHint);
        connect(model, &QAbstractItemModel::modelReset, this, &SidebarView::showEmptyHint);
    }
    showEmptyHint();
}

void SidebarView::showEmptyHint() {
    emptyHint_->setVisible(list_->model() == nullptr || list_->model()->rowCount() == 0);
}

void SidebarView::setAccountName(const QString& name) {
    footer_->setName(name);
}

void SidebarView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), theme_.ink().page);
}

} // namespace teskal
