#include "AccountFooter.h"

#include "Avatar.h"
#include "theme/Metrics.h"
#include "theme/Theme.h"
#include "theme/textDirection.h"

#include <QMenu>
#include <QPainter>
#include <QStyle>

namespace teskal {

namespace {

constexpr int footerHeight = 54;
constexpr int avatarSide = 32;
constexpr int gap = 10;
constexpr int chevronSize = 15;
constexpr int chevronInset = 20;

} // namespace

AccountFooter::AccountFooter(const Theme& theme, QWidget* parent)
    : InkButton(theme, parent), menu_(new QMenu(this)) {
    setObjectName(QStringLiteral("accountFooter"));
    setAccessibleName(tr("Account menu"));
    setFixedHeight(footerHeight);
    fillMenu();
    connect(this, &QAbstractButton::clicked, this, &AccountFooter::openMenu);
}

void AccountFooter::fillMenu() {
    const auto add = [this](const QString& text, void (AccountFooter::*signal)()) {
        connect(menu_->addAction(text), &QAction::triggered, this, signal);
    };
    add(tr("Privacy and Models…"), &AccountFooter::privacyRequested);
    add(tr("Where Requests Went…"), &AccountFooter::routesRequested);
    add(tr("API Keys"), &AccountFooter::keysRequested);
    add(tr("Credits…"), &AccountFooter::creditsRequested);
    menu_->addSeparator();
    add(tr("Sign Out"), &AccountFooter::signOutRequested);
}

void AccountFooter::setName(const QString& name) {
    setText(name);
    setAccessibleName(name.isEmpty() ? tr("Account menu") : name);
    setAccessibleDescription(balance_.isEmpty() ? tr("Account menu") : tr("Account menu, %1").arg(balance_));
}

void AccountFooter::setBalance(const QString& balance) {
    if (balance == balance_)
        return;
    balance_ = balance;
    setName(text());
    update();
}

void AccountFooter::setPicture(const QImage& picture) {
    picture_ = picture;
    update();
}

QSize AccountFooter::sizeHint() const {
    return {metrics::sidebarLeast, footerHeight};
}

void AccountFooter::openMenu() {
    menu_->setMinimumWidth(width() - 2 * metrics::margin);
    const int menuHeight = menu_->sizeHint().height();
    menu_->popup(mapToGlobal(QPoint(metrics::margin, 4 - menuHeight)));
}

void AccountFooter::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const Ink& ink = theme().ink();
    painter.fillRect(0, 0, width(), 1, ink.line);
    const QRect body = rect().adjusted(0, 1, 0, 0);
    painter.fillRect(body, ink.tint(0.04 * hoverAmount()));
    const auto mirrored = [&](const QRect& place) {
        return QStyle::visualRect(layoutDirection(), body, place);
    };
    const QRect avatar(metrics::margin, body.center().y() - avatarSide / 2 + 1, avatarSide, avatarSide);
    if (picture_.isNull())
        Avatar::paint(painter, mirrored(avatar), text(), theme());
    else
        Avatar::paint(painter, mirrored(avatar), picture_);

    const QRect chevron(body.right() - chevronInset - chevronSize / 2, body.top(), chevronSize,
                        body.height());
    theme().icons().paint(painter, mirrored(chevron), QStringLiteral("chevron.up.chevron.down"), chevronSize,
                          ink.muted);
    const QRect words(avatar.right() + gap, body.top(), chevron.left() - gap - avatar.right() - gap,
                      body.height());
    paintWords(painter, mirrored(words));
    paintFocusRing(painter, QRectF(body).adjusted(2, 2, -2, -2), metrics::radiusSmall);
}

void AccountFooter::paintWords(QPainter& painter, const QRect& place) const {
    const int flags = int(QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft | Qt::AlignVCenter)) |
                      Qt::TextSingleLine;
    const auto line = [&](const QRect& row, const QFont& font, const QColor& colour, const QString& words) {
        painter.setFont(font);
        painter.setPen(colour);
        painter.setLayoutDirection(textDirection(words));
        painter.drawText(row, flags, QFontMetrics(font).elidedText(words, Qt::ElideRight, row.width()));
    };
    QFont name = theme().font(TextRole::Body);
    name.setWeight(QFont::Medium);
    if (balance_.isEmpty())
        return line(place, name, theme().ink().fg, text());
    const QFont quiet = theme().font(TextRole::Quiet);
    const int nameHeight = QFontMetrics(name).height();
    const int height = nameHeight + QFontMetrics(quiet).height();
    const QRect first(place.left(), place.center().y() - height / 2, place.width(), nameHeight);
    line(first, name, theme().ink().fg, text());
    line(QRect(place.left(), first.bottom() + 1, place.width(), height - nameHeight), quiet,
         theme().ink().muted, balance_);
}

} // namespace teskal
