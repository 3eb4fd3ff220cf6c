#include "InlineFiles.h"

#include "Base64.h"
#include "DataUrl.h"

#include <QRegularExpression>

#include <algorithm>

namespace teskal {

namespace {

constexpr QLatin1String prefix("inline-");

bool isShownType(const QString& mediaType) {
    static const QRegularExpression shown(
        QStringLiteral(R"(\A((image|audio|video)/[a-z0-9.+-]+|application/pdf)\z)"));
    return shown.match(mediaType).hasMatch();
}

} // namespace

std::optional<QString> InlineFiles::identify(const QString& dataUrl) {
    if (dataUrl.size() <= longestInline || !isDataUrl(dataUrl))
        return std::nullopt;
    auto seen = seen_.constFind(dataUrl.constData());
    if (seen == seen_.constEnd())
        seen = seen_.insert(dataUrl.constData(), {dataUrl, identifyContent(dataUrl)});
    return seen->id.isEmpty() ? std::nullopt : std::optional(seen->id);
}

QString InlineFiles::identifyContent(const QString& dataUrl) {
    const std::optional<QStringView> base64 = dataUrlBase64(dataUrl);
    if (!base64 || !isShownType(dataUrlType(dataUrl)) || base64->isEmpty() || !isBase64(*base64))
        return {};
    const size_t hash = qHash(dataUrl);
    const auto [first, last] = idsByHash_.equal_range(hash);
    const auto same = std::find_if(first, last, [&](const QString& id) { return files_[id].url == dataUrl; });
    if (same != last)
        return *same;
    const QString id = prefix + QString::number(++lastNumber_);
    files_.insert(id, {dataUrl, {}});
    idsByHash_.insert(hash, id);
    return id;
}

bool InlineFiles::isOwn(QStringView id) {
    return id.startsWith(prefix);
}

std::optional<PageFile> InlineFiles::find(const QString& id) const {
    const auto file = files_.constFind(id);
    if (file == files_.constEnd())
        return std::nullopt;
    if (file->bytes.isEmpty())
        file->bytes = dataUrlBytes(file->url).value_or(QByteArray());
    PageFile found;
    found.bytes = file->bytes;
    found.mediaType = dataUrlType(file->url);
    return found;
}

void InlineFiles::clear() {
    seen_.clear();
    files_.clear();
    idsByHash_.clear();
}

} // namespace teskal
