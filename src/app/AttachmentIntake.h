#pragma once

#include "Attachment.h"
#include "Scope.h"
#include "SerialWorker.h"

#include <QHash>
#include <QObject>

#include <functional>

class QImage;
class QUrl;

namespace teskal {

/// Prepares the files that the user attaches, beside the main thread, one after the other in the order in
/// which they were given. Every file that was added ends in exactly one of ready() and failed(), from the
/// event loop and in that same order, or in none when it was cancelled or the intake is gone. Main thread
/// only.
class AttachmentIntake final : public QObject {
    Q_OBJECT

public:
    explicit AttachmentIntake(QObject* parent = nullptr);
    /// Cancels everything; waits, for some milliseconds as a rule, for what the worker is in the middle of.
    ~AttachmentIntake() override;

    /// Begins to prepare the file at \a url. Returns its number, which no other file ever has.
    quint64 add(const QUrl& url);
    /// Begins to prepare \a image, which has no file; \a name as Attachments::from() takes it.
    quint64 add(const QImage& image, const QString& name);

    /// Nothing more comes of the file. Nothing when it is done, or was never added.
    void cancel(quint64 number);

Q_SIGNALS:
    /// The file is an attachment now; it is not preparing any more.
    void ready(quint64 number, const teskal::Attachment& attachment);
    /// The file cannot be attached; \a text is an AttachmentError's. It is not preparing any more.
    void failed(quint64 number, const QString& text);

private:
    using Preparation = std::function<Attachment()>;

    quint64 begin(const QString& name, std::function<Attachment(const std::stop_token&)> prepare);
    QCoro::Task<void> follow(quint64 number, QString name, Preparation prepare, std::stop_token stop);

    quint64 lastNumber_ = 0;
    QHash<quint64, Job> jobs_;
    SerialWorker worker_;
    Scope scope_; // last: its coroutines use the above
};

} // namespace teskal
