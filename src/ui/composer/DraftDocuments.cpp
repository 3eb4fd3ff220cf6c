#include "DraftDocuments.h"

#include <QPlainTextDocumentLayout>
#include <QTextDocument>

#include <algorithm>

namespace teskal {

namespace {

constexpr qsizetype mostDocuments = 24;

} // namespace

DraftDocuments::DraftDocuments(QTextDocument& first, QObject& owner)
    : owner_(owner), font_(first.defaultFont()), entries_{{QString(), &first}} {
    first.setParent(&owner);
}

QTextDocument& DraftDocuments::of(const QString& slot) {
    const auto known = std::find_if(entries_.begin(), entries_.end(),
                                    [&slot](const Entry& entry) { return entry.slot == slot; });
    if (known != entries_.end())
        std::rotate(known, known + 1, entries_.end());
    else
        entries_.append({slot, make()});
    // The one before the last may still be on display.
    if (entries_.size() > mostDocuments)
        drop(0);
    return *entries_.last().document;
}

void DraftDocuments::rename(const QString& from, const QString& to) {
    for (qsizetype place = entries_.size() - 1; place >= 0; --place) {
        if (entries_.at(place).slot == to)
            drop(place);
    }
    for (Entry& entry : entries_) {
        if (entry.slot == from)
            entry.slot = to;
    }
}

void DraftDocuments::keepOnly(const std::function<bool(const QString&)>& stays) {
    for (qsizetype place = entries_.size() - 2; place >= 0; --place) {
        if (!stays(entries_.at(place).slot))
            drop(place);
    }
}

QTextDocument* DraftDocuments::make() const {
    auto* document = new QTextDocument(&owner_);
    document->setDocumentLayout(new QPlainTextDocumentLayout(document));
    document->setDocumentMargin(0);
    document->setDefaultFont(font_);
    document->clearUndoRedoStacks();
    return document;
}

void DraftDocuments::drop(qsizetype place) {
    delete entries_.takeAt(place).document;
}

} // namespace teskal
