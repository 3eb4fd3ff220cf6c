#include "AccountFooter.h"

#include "Avatar.h"
#include "theme/Metrics.h"
#include "theme/Theme.h"

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
    setAccessibleDescription(tr("Account menu"));
    setFixedHeight(footerHeight);
    QAction* signOut = menu_->addAction(tr("Sign Out"));
    connect(signOut, &QAction::triggered, this, &AccountFooter::signOutRequested);
    connect(this, &QAbstractButton::clicked, this, &AccountFooter::openMenu);
}

void AccountFooter::setName(const QString& name) {
    setText(name);
    setAccessibleName(name);
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
    Avatar::paint(painter, mirrored(avatar), text(), theme());

    const QRect chevron(body.right() - chevronInset - chevronSize / 2, body.top(), chevronSize,
                        body.height());
    theme().icons().paint(painter, mirrored(chevron), QStringLiteral("chevron.up.chevron.down"), chevronSize,
                          ink.muted);

    const QRect words(avatar.right() + gap, body.top(), chevron.left() - gap - avatar.right() - gap,
                      body.height());
    QFont font = theme().font(TextRole::Body);
    font.setWeight(QFont::Medium);
    painter.setFont(font);
    painter.setPen(ink.fg);
    painter.drawText(mirrored(words),
                     int(QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft | Qt::AlignVCenter)),
                     QFontMetrics(font).elidedText(text(), Qt::ElideRight, words.width()));
    paintFocusRing(painter, QRectF(body).adjusted(2, 2, -2, -2), metrics::radiusSmall);
}

} // namespace teskal
