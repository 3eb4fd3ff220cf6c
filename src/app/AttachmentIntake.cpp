#include "AttachmentIntake.h"

#include "Attachments.h"
#include "Cancelled.h"
#include "RunOn.h"

#include <QImage>
#include <QUrl>

namespace teskal {

AttachmentIntake::AttachmentIntake(QObject* parent) : QObject(parent) {}

AttachmentIntake::~AttachmentIntake() = default;

quint64 AttachmentIntake::add(const QUrl& url) {
    return begin(Attachments::nameOf(url),
                 [url](const std::stop_token& stop) { return Attachments::load(url, stop); });
}

quint64 AttachmentIntake::add(const QImage& image, const QString& name) {
    return begin(name,
                 [image, name](const std::stop_token& stop) { return Attachments::from(image, name, stop); });
}

void AttachmentIntake::cancel(quint64 number) {
    jobs_.take(number).cancel();
}

quint64 AttachmentIntake::begin(const QString& name,
                                std::function<Attachment(const std::stop_token&)> prepare) {
    const quint64 number = ++lastNumber_;
    const Job job = scope_.launch([&](std::stop_token stop) {
        return follow(
            number, name, [prepare = std::move(prepare), stop] { return prepare(stop); }, stop);
    });
    jobs_.insert(number, job); // its first wait ends later, from the event loop
    return number;
}

QCoro::Task<void> AttachmentIntake::follow(quint64 number, QString name, Preparation prepare,
                                           std::stop_token stop) {
    const auto preparing = runOn(worker_, std::move(prepare));
    std::optional<Attachment> attachment;
    QString failure;
    try {
        attachment = co_await preparing.wait(stop);
    } catch (const AttachmentError& error) {
        failure = error.text();
    } catch (const Cancelled&) {
        throw;
    } catch (const std::exception&) { // no memory, for one
        failure = AttachmentError::unreadable(name).text();
    }
    if (!jobs_.remove(number))
        co_return; // cancelled meanwhile
    if (attachment)
        Q_EMIT ready(number, *attachment);
    else
        Q_EMIT failed(number, failure);
}

} // namespace teskal
