#pragma once

#include "AttachmentIntake.h"
#include "Drafts.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QUrl>

#include <functional>

namespace teskal {

/// Brings the files that the user attaches into the drafts: has them prepared and keeps to the number that
/// one message may have. A file that finds no room waits while another one is still being prepared, which may
/// turn out to be none. Main thread only.
class DraftAttachments final : public QObject {
    Q_OBJECT

public:
    /// \a drafts must outlive this object.
    explicit DraftAttachments(Drafts& drafts, QObject* parent = nullptr);

    void attach(const QString& slot, const QList<QUrl>& files);
    void attach(const QString& slot, const QImage& image, const QString& name);

Q_SIGNALS:
    /// A file cannot be attached; \a text tells the user why.
    void notice(const QString& text);

private:
    struct Candidate {
        QString name;
        std::function<quint64()> begin; ///< starts preparing the file and returns its number
    };

    void add(const QString& slot, const Candidate& file);
    void failed(quint64 number, const QString& text);
    /// Lets those that wait in, or away, as far as the state of the slot says.
    void admit(const QString& slot);

    Drafts& drafts_;
    QHash<QString, QList<Candidate>> waiting_;
    AttachmentIntake intake_;
};

} // namespace teskal
