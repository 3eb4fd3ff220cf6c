#include "HeifBoxes.h"

#include <QByteArray>
#include <QIODevice>
#include <QScopeGuard>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <optional>

namespace teskal {

namespace {

constexpr qint64 longestConfiguration = 65'536;  // bytes; real ones have about a hundred
constexpr qint64 mostBoxes = 4'096;              // in one box; real files have some hundred properties
constexpr qint64 longestDescription = 4'194'304; // bytes; real ones have some thousand

struct Box {
    QByteArray type;
    qint64 content = 0; ///< where it begins
    qint64 end = 0;
};

std::optional<Box> boxAt(QIODevice& device, qint64 begin, qint64 end) {
    QByteArray header;
    if (begin + 8 > end || !device.seek(begin) || (header = device.read(16)).size() < 8)
        return std::nullopt;
    Box box{header.mid(4, 4), begin + 8, begin + qFromBigEndian<quint32>(header.constData())};
    if (box.end == begin) // to the end of the file
        box.end = end;
    if (box.end == begin + 1) { // the size did not fit
        if (header.size() < 16)
            return std::nullopt;
        const auto size = qFromBigEndian<quint64>(header.constData() + 8);
        box.content = begin + 16;
        box.end = size <= quint64(end - begin) ? begin + qint64(size) : -1;
    }
    return box.end >= box.content && box.end <= end ? std::optional(box) : std::nullopt;
}

/// The first box between \a begin and \a end that has one of \a types.
template<std::size_t n>
std::optional<Box> find(QIODevice& device, qint64 begin, qint64 end,
                        const std::array<const char*, n>& types) {
    for (qint64 i = 0; i < mostBoxes; ++i) {
        const std::optional<Box> box = boxAt(device, begin, end);
        if (!box || std::find(types.begin(), types.end(), box->type) != types.end())
            return box;
        begin = box->end;
    }
    return std::nullopt;
}

auto backTo(QIODevice& device, qint64 position) {
    return qScopeGuard([&device, position] { device.seek(position); });
}

/// The box with the properties of all images.
std::optional<Box> propertiesOf(QIODevice& device) {
    constexpr int versionAndFlags = 4;
    const auto meta = find(device, 0, device.size(), std::array{"meta"});
    const auto properties =
        meta ? find(device, meta->content + versionAndFlags, meta->end, std::array{"iprp"}) : meta;
    return properties ? find(device, properties->content, properties->end, std::array{"ipco"}) : properties;
}

} // namespace

bool isHeif(QIODevice& device) {
    constexpr std::array brands{"heic", "heix", "heim", "heis", "mif1", "mif2"};
    const QByteArray start = device.peek(12);
    return start.size() == 12 && start.mid(4, 4) == "ftyp" &&
           std::find(brands.begin(), brands.end(), start.mid(8, 4)) != brands.end();
}

bool heifTurnsItself(QIODevice& device) {
    const auto back = backTo(device, device.pos());
    const auto properties = propertiesOf(device);
    return properties && find(device, properties->content, properties->end, std::array{"irot", "imir"});
}

std::optional<QByteArray> heifDescription(QIODevice& device) {
    const auto back = backTo(device, device.pos());
    const std::array meta{"meta"};
    const auto only = find(device, 0, device.size(), meta);
    if (!only || only->end - only->content > longestDescription ||
        find(device, only->end, device.size(), meta) || !device.seek(only->content))
        return std::nullopt;
    return device.read(only->end - only->content);
}

QByteArrayList hevcConfigurations(const QByteArray& description) {
    const QByteArrayView type("hvcC");
    QByteArrayList found;
    for (qsizetype at = description.indexOf(type); at >= 0; at = description.indexOf(type, at + type.size()))
        found.append(description.mid(at + type.size(), longestConfiguration));
    return found;
}

} // namespace teskal
