#include "Desk.h"

#include "AccountFileName.h"
#include "WaitUntil.h"

#include <QFile>

namespace teskal::test {

Desk::Desk(std::function<void(const QString&)> onShown)
    : clock(SystemClock().nowMs()), config_(Config::forLocalService(service.origin().toString()).value()),
      page_(std::move(onShown)) {
    launch();
}

void Desk::launch() {
    AppServices services{config_,
                         http_,
                         clock,
                         keychain_,
                         browser_,
                         folder_.path(),
                         folder_.filePath(QStringLiteral("Files")),
                         QStringLiteral("1.2"),
                         [](const QString&) {},
                         [](const QString&) {}};
    model_ = std::make_unique<AppModel>(services);
    model_->transcript().setPage(&page_);
    page_.sendReady();
    if (!waitUntil([this] { return !model_->auth().isLoading(); }))
        qFatal("the stored session is not read");
}

void Desk::quit() {
    model_->flush();
    model_.reset();
}

void Desk::consentAs(const QString& email) {
    control.post(QStringLiteral("consent"),
                 QJsonObject{{QStringLiteral("email"), email}, {QStringLiteral("automatic"), true}});
}

void Desk::turn() {
    if (!control.wait(QStringLiteral("/"), QStringLiteral("received"), 0))
        qFatal("the service does not answer");
}

QList<Chat> Desk::stored(const QString& owner) const {
    QFile file(folder_.filePath(accountFileName(owner) + QStringLiteral(".json")));
    return file.open(QFile::ReadOnly) ? decodeChats(file.readAll()) : QList<Chat>();
}

} // namespace teskal::test
