#include "InlineFiles.h"

#include "DataUrl.h"
#include "ShownType.h"

#include <algorithm>

namespace teskal {

namespace {

/// In characters, up to the data itself; nothing beyond is looked at for what a data URL is.
constexpr qsizetype longestHead = 256;
/// In characters: one more than an identifier of the service's has.
constexpr int idLength = 65;

constexpr QLatin1String prefix("inline-");

bool isServed(const QString& dataUrl) {
    const QString head = dataUrl.left(longestHead);
    return dataUrlBase64(head) && isShownType(dataUrlType(head));
}

} // namespace

std::optional<QString> InlineFiles::identify(const QString& dataUrl) {
    if (dataUrl.size() <= longestInline || !isServed(dataUrl))
        return std::nullopt;
    auto seen = seen_.constFind(dataUrl.constData());
    if (seen == seen_.constEnd())
        seen = seen_.insert(dataUrl.constData(), {dataUrl, identifyContent(dataUrl)});
    return seen->id;
}

QString InlineFiles::identifyContent(const QString& dataUrl) {
    const auto [first, last] = idsBySize_.equal_range(dataUrl.size());
    const auto same = std::find_if(first, last, [&](const QString& id) { return files_[id].url == dataUrl; });
    if (same != last)
        return *same;
    const int digits = idLength - int(prefix.size());
    const QString id = prefix + QStringLiteral("%1").arg(++lastNumber_, digits, 10, QLatin1Char('0'));
    files_.insert(id, {dataUrl, {}});
    idsBySize_.insert(dataUrl.size(), id);
    return id;
}

std::optional<PageFile> InlineFiles::find(const QString& id) const {
    const auto file = files_.constFind(id);
    if (file == files_.constEnd())
        return std::nullopt;
    if (file->bytes.isEmpty())
        file->bytes = dataUrlBytes(file->url).value_or(QByteArray());
    if (file->bytes.isEmpty())
        return std::nullopt;
    PageFile found;
    found.bytes = file->bytes;
    found.mediaType = dataUrlType(file->url);
    return found;
}

void InlineFiles::clear() {
    seen_.clear();
    files_.clear();
    idsBySize_.clear();
}

} // namespace teskal
