#include "BrowserSignInPanel.h"

#include "BrowserAuthSession.h"
#include "CallbackLink.h"
#include "SpokenLabel.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace teskal {

namespace {

QString hintFor(bool browserOpen, bool badLink) {
    if (badLink)
        return BrowserSignInPanel::tr("That isn’t a sign-in link. It begins with “app.teskal.mac://”.");
    if (!browserOpen)
        return BrowserSignInPanel::tr("Your browser didn’t open. Try again.");
    return BrowserSignInPanel::tr("Finish signing in there, then come back here.");
}

} // namespace

BrowserSignInPanel::BrowserSignInPanel(BrowserAuthSession& session, QWidget* parent)
    : QDialog(parent), session_(session), hint_(new SpokenLabel(this)), link_(new QLineEdit(this)),
      use_(new QPushButton(tr("Use Link"), this)) {
    setObjectName(QStringLiteral("browserSignInPanel"));
    setWindowTitle(tr("Waiting for the browser"));
    setWindowModality(Qt::WindowModal);

    auto* title = new QLabel(tr("Waiting for the browser"), this);
    QFont titleFont = title->font();
    titleFont.setBold(true);
    title->setFont(titleFont);
    hint_->setObjectName(QStringLiteral("hint"));
    link_->setObjectName(QStringLiteral("link"));
    link_->setPlaceholderText(tr("Or paste the link from the browser"));
    link_->setAccessibleName(tr("Sign-in link"));
    link_->setMaxLength(int(maxCallbackLinkLength));
    use_->setObjectName(QStringLiteral("use"));
    use_->setAutoDefault(false);
    auto* linkRow = new QHBoxLayout;
    linkRow->addWidget(link_, 1);
    linkRow->addWidget(use_);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
    auto* again = buttons->addButton(tr("Open Again"), QDialogButtonBox::ActionRole);
    again->setObjectName(QStringLiteral("again"));
    again->setAutoDefault(false);
    buttons->button(QDialogButtonBox::Cancel)->setObjectName(QStringLiteral("cancel"));
    buttons->button(QDialogButtonBox::Cancel)->setAutoDefault(false);

    auto* column = new QVBoxLayout(this);
    column->addWidget(title);
    column->addWidget(hint_);
    column->addLayout(linkRow);
    column->addWidget(buttons);
    setMinimumWidth(fontMetrics().averageCharWidth() * 60);

    connect(buttons, &QDialogButtonBox::rejected, this, &BrowserSignInPanel::reject);
    connect(again, &QPushButton::clicked, this, [this] { session_.openAgain(); });
    connect(use_, &QPushButton::clicked, this, &BrowserSignInPanel::usePastedLink);
    connect(link_, &QLineEdit::returnPressed, this, &BrowserSignInPanel::usePastedLink);
    connect(link_, &QLineEdit::textChanged, this, &BrowserSignInPanel::showState);
    connect(&session_, &BrowserAuthSession::isWaitingChanged, this, &BrowserSignInPanel::follow);
    connect(&session_, &BrowserAuthSession::isBrowserOpenChanged, this, &BrowserSignInPanel::showState);
    showState();
    follow();
}

void BrowserSignInPanel::reject() {
    session_.cancel();
    QDialog::reject();
}

void BrowserSignInPanel::follow() {
    // A link holds a code: it does not stay in the field.
    link_->clear();
    if (session_.isWaiting())
        open();
    else
        hide();
}

void BrowserSignInPanel::showState() {
    use_->setEnabled(!link_->text().trimmed().isEmpty());
    hint_->say(hintFor(session_.isBrowserOpen(), false));
}

void BrowserSignInPanel::usePastedLink() {
    if (use_->isEnabled() && !session_.deliver(link_->text()))
        hint_->say(hintFor(true, true));
}

} // namespace teskal
