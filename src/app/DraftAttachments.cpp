#include "DraftAttachments.h"

#include "Attachments.h"

#include <QImage>

namespace teskal {

DraftAttachments::DraftAttachments(Drafts& drafts, QObject* parent) : QObject(parent), drafts_(drafts) {
    connect(&intake_, &AttachmentIntake::ready, &drafts_, &Drafts::fileReady);
    connect(&intake_, &AttachmentIntake::failed, this, &DraftAttachments::failed);
    connect(&drafts_, &Drafts::abandoned, &intake_, &AttachmentIntake::cancel);
    connect(&drafts_, &Drafts::dropped, this, [this](const QString& slot) { waiting_.remove(slot); });
    connect(&drafts_, &Drafts::moved, this, [this](const QString& from, const QString& to) {
        if (const QList<Candidate> files = waiting_.take(from); !files.isEmpty())
            waiting_.insert(to, files);
    });
    connect(&drafts_, &Drafts::filesChanged, this, &DraftAttachments::admit);
}

void DraftAttachments::attach(const QString& slot, const QList<QUrl>& files) {
    for (const QUrl& url : files)
        add(slot, {Attachments::nameOf(url), [this, url] { return intake_.add(url); }});
}

void DraftAttachments::attach(const QString& slot, const QImage& image, const QString& name) {
    add(slot, {name, [this, image, name] { return intake_.add(image, name); }});
}

void DraftAttachments::add(const QString& slot, const Candidate& file) {
    waiting_[slot].append(file);
    admit(slot);
}

void DraftAttachments::admit(const QString& slot) {
    QList<Candidate> files = waiting_.take(slot);
    // Adding a file tells of the change, which comes back here: what waits is put back first.
    while (!files.isEmpty() && drafts_.hasRoom(slot)) {
        const Candidate next = files.takeFirst();
        const quint64 number = next.begin();
        waiting_.insert(slot, files);
        drafts_.addFile(slot, number, next.name);
        files = waiting_.take(slot);
    }
    if (files.isEmpty())
        return;
    if (drafts_.isPreparing(slot))
        waiting_.insert(slot, files);
    else
        Q_EMIT notice(AttachmentError::tooMany().text());
}

void DraftAttachments::failed(quint64 number, const QString& text) {
    Q_EMIT notice(text);
    drafts_.removeFile(number);
}

} // namespace teskal
