#include "SidebarView.h"

#include "AccountFooter.h"
#include "RowButton.h"
#include "SearchField.h"
#include "SidebarMenus.h"
#include "SidebarTree.h"
#include "controls/IconButton.h"
#include "controls/InkLabel.h"
#include "controls/keyHint.h"
#include "theme/Metrics.h"
#include "theme/Theme.h"

#include <QPainter>
#include <QVBoxLayout>

namespace teskal {

namespace {

constexpr int headInset = 10;
constexpr int headGap = 4;

} // namespace

SidebarView::SidebarView(const Theme& theme, QWidget* parent)
    : QWidget(parent), theme_(theme), search_(new SearchField(theme, this)),
      list_(new SidebarTree(theme, this)), menus_(new SidebarMenus(*list_)),
      hint_(new InkLabel(theme, TextRole::Quiet, &Ink::muted, this)),
      footer_(new AccountFooter(theme, this)) {
    setObjectName(QStringLiteral("sidebar"));
    auto* newFolder =
        new IconButton(theme, QStringLiteral("folder.badge.plus"), tr("New folder (⌥⌘N)"), this);
    newFolder->setObjectName(QStringLiteral("newFolderButton"));
    auto* newChat = new RowButton(theme, QStringLiteral("square.and.pencil"), tr("New Chat"), this);
    newChat->setObjectName(QStringLiteral("sidebarNewChat"));
    newChat->setToolTip(keyHint(tr("New chat (⌘N)")));
    hint_->setObjectName(QStringLiteral("emptyHint"));
    hint_->setTextFormat(Qt::PlainText);
    hint_->setContentsMargins(metrics::margin + 6, 8, metrics::margin, 8);
    hint_->setWordWrap(true);
    hint_->hide();

    auto* head = new QHBoxLayout;
    head->setContentsMargins(headInset, headInset, headInset, headGap);
    head->setSpacing(headGap);
    head->addWidget(search_, 1);
    head->addWidget(newFolder);
    auto* below = new QHBoxLayout;
    below->setContentsMargins(8, 0, 8, headGap);
    below->addWidget(newChat);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addLayout(head);
    column->addLayout(below);
    column->addWidget(hint_);
    column->addWidget(list_, 1);
    column->addWidget(footer_);

    setTabOrder(search_, newFolder);
    setTabOrder(newFolder, newChat);
    setTabOrder(newChat, list_);
    setTabOrder(list_, footer_);

    connect(newChat, &QAbstractButton::clicked, this, &SidebarView::newChatRequested);
    connect(newFolder, &QAbstractButton::clicked, this, &SidebarView::newFolderRequested);
    connect(search_, &QLineEdit::textChanged, this, &SidebarView::searchChanged);
    connect(search_, &SearchField::focused, this, &SidebarView::searchOpened);
    connect(search_, &SearchField::rowsWanted, list_, &SidebarTree::focusRows);
    connect(search_, &SearchField::left, list_, &SidebarTree::focusRows);
    connect(search_, &QLineEdit::returnPressed, list_, &SidebarTree::chooseFirst);
    connect(list_, &SidebarTree::typed, this, &SidebarView::takeTyped);
    connect(list_, &SidebarTree::escaped, this, &SidebarView::clearSearch);
    connect(&theme, &Theme::changed, this, qOverload<>(&QWidget::update));
}

void SidebarView::setRows(SidebarRows* rows) {
    list_->setRows(rows);
}

void SidebarView::setHint(const QString& hint) {
    hint_->setText(hint);
    hint_->setVisible(!hint.isEmpty());
}

void SidebarView::focusSearch() {
    search_->setFocus(Qt::ShortcutFocusReason);
    search_->selectAll();
}

QString SidebarView::searchText() const {
    return search_->text();
}

void SidebarView::clearSearch() {
    search_->clear();
}

void SidebarView::takeTyped(const QString& text) {
    search_->setFocus(Qt::OtherFocusReason);
    search_->deselect();
    search_->setText(search_->text() + text);
}

void SidebarView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.fillRect(rect(), theme_.ink().page);
}

} // namespace teskal
