#include "Drafts.h"

#include "Attachments.h"

#include <algorithm>

namespace teskal {

namespace {

auto placeOf(QList<DraftFile>& files, quint64 number) {
    return std::find_if(files.begin(), files.end(),
                        [number](const DraftFile& file) { return file.number == number; });
}

} // namespace

Drafts::Drafts(QObject* parent) : QObject(parent) {}

const Drafts::Draft& Drafts::draft(const QString& slot) const {
    static const Draft none;
    const auto found = drafts_.constFind(slot);
    return found == drafts_.constEnd() ? none : *found;
}

bool Drafts::hasRoom(const QString& slot) const {
    return files(slot).size() < Attachments::mostFiles;
}

bool Drafts::isPreparing(const QString& slot) const {
    const QList<DraftFile>& all = files(slot);
    return std::any_of(all.begin(), all.end(), [](const DraftFile& file) { return file.preparing; });
}

void Drafts::setText(const QString& slot, const QString& text) {
    if (draft(slot).text == text)
        return;
    drafts_[slot].text = text;
    Q_EMIT textChanged(slot);
}

void Drafts::addWords(const QString& slot, const QString& words) {
    const QString heard = words.trimmed();
    if (heard.isEmpty())
        return;
    const QString& written = text(slot);
    setText(slot, written.isEmpty() ? heard : written + QLatin1Char(' ') + heard);
}

void Drafts::addFile(const QString& slot, quint64 number, const QString& name) {
    DraftFile file;
    file.number = number;
    file.name = name;
    file.preparing = true;
    drafts_[slot].files.append(file);
    Q_EMIT filesChanged(slot);
}

std::optional<QString> Drafts::slotOf(quint64 number) const {
    for (auto it = drafts_.cbegin(); it != drafts_.cend(); ++it)
        for (const DraftFile& file : it->files)
            if (file.number == number)
                return it.key();
    return std::nullopt;
}

void Drafts::fileReady(quint64 number, const Attachment& attachment) {
    const std::optional<QString> slot = slotOf(number);
    if (!slot)
        return;
    const auto file = placeOf(drafts_[*slot].files, number);
    file->preparing = false;
    file->name = attachment.name;
    file->attachment = attachment;
    Q_EMIT filesChanged(*slot);
}

void Drafts::removeFile(quint64 number) {
    const std::optional<QString> slot = slotOf(number);
    if (!slot)
        return;
    QList<DraftFile>& files = drafts_[*slot].files;
    const auto file = placeOf(files, number);
    const bool wasPreparing = file->preparing;
    files.erase(file);
    if (wasPreparing)
        Q_EMIT abandoned(number);
    Q_EMIT filesChanged(*slot);
}

Drafts::Draft Drafts::take(const QString& slot) {
    const Draft taken = drafts_.take(slot);
    Q_EMIT dropped(slot);
    for (const DraftFile& file : taken.files)
        if (file.preparing)
            Q_EMIT abandoned(file.number);
    if (!taken.text.isEmpty())
        Q_EMIT textChanged(slot);
    if (!taken.files.isEmpty())
        Q_EMIT filesChanged(slot);
    return taken;
}

void Drafts::move(const QString& from, const QString& to) {
    if (drafts_.contains(from))
        drafts_.insert(to, drafts_.take(from));
    Q_EMIT moved(from, to);
}

void Drafts::keepOnly(const std::function<bool(const QString& slot)>& wanted) {
    const QStringList all = drafts_.keys();
    for (const QString& slot : all)
        if (!wanted(slot))
            take(slot);
}

void Drafts::clear() {
    keepOnly([](const QString&) { return false; });
}

} // namespace teskal
