#include "IDs.h"

#include <QRandomGenerator>

#include <algorithm>

namespace teskal::IDs {

QString make() {
    constexpr QLatin1StringView alphabet("abcdefghijklmnopqrstuvwxyz0123456789");
    constexpr quint32 letters = 36;
    constexpr quint32 unbiased = 256 / letters * letters; // larger bytes would favour the first letters
    QString id;
    while (id.size() < 12) {
        const quint32 byte = QRandomGenerator::system()->generate() & 0xFF;
        if (byte < unbiased)
            id.append(alphabet.at(byte % letters));
    }
    return id;
}

bool isSyncable(QStringView id) {
    const auto allowed = [](QChar c) {
        const char16_t u = c.unicode();
        return (u >= u'a' && u <= u'z') || (u >= u'A' && u <= u'Z') || (u >= u'0' && u <= u'9') ||
               u == u'-' || u == u'_';
    };
    return id.size() >= 4 && id.size() <= 64 && std::all_of(id.begin(), id.end(), allowed);
}

} // namespace teskal::IDs
