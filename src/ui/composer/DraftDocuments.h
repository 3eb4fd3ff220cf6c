#pragma once

#include <QFont>
#include <QList>
#include <QString>

#include <functional>

class QObject;
class QTextDocument;

namespace teskal {

/// The documents that drafts are written in, one for each slot, so that undo never reaches from one draft
/// into another. Only the ones used last are kept: those left longest begin anew.
class DraftDocuments {
public:
    /// \a first is the document of the slot ""; \a owner owns every further one.
    DraftDocuments(QTextDocument& first, QObject& owner);

    /// The document of \a slot; it counts as the one used last.
    QTextDocument& of(const QString& slot);
    /// What was written for \a from belongs to \a to from now on, whose own document goes.
    void rename(const QString& from, const QString& to);
    /// Drops the documents of slots for which \a stays says no, but the one used last.
    void keepOnly(const std::function<bool(const QString&)>& stays);

private:
    struct Entry {
        QString slot;
        QTextDocument* document;
    };

    QTextDocument* make() const;
    void drop(qsizetype place);

    QObject& owner_;
    QFont font_;
    QList<Entry> entries_; ///< the one used last at the end
};

} // namespace teskal
