#include "FileKeychain.h"

#include "AtomicFile.h"
#include "JsonError.h"
#include "JsonText.h"
#include "JsonWriter.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

namespace teskal {

namespace {

/// The file is there but holds something else than we write.
class DamagedFile : public KeychainError {
public:
    DamagedFile() : KeychainError(QStringLiteral("the file of secrets is damaged")) {}
};

QMap<QString, QByteArray> decode(const QByteArray& text) {
    QMap<QString, QByteArray> items;
    const JSONValue document = json::parseValue(text);
    if (!document.object())
        throw DamagedFile();
    for (const auto& [account, value] : document.object()->asKeyValueRange()) {
        if (!value.string())
            throw DamagedFile();
        const auto bytes = QByteArray::fromBase64Encoding(value.string()->toLatin1(),
                                                          QByteArray::AbortOnBase64DecodingErrors);
        if (!bytes)
            throw DamagedFile();
        items.insert(account, *bytes);
    }
    return items;
}

QByteArray encode(const QMap<QString, QByteArray>& items) {
    JsonWriter writer;
    writer.beginObject();
    for (const auto& [account, bytes] : items.asKeyValueRange()) {
        writer.key(QStringView(account));
        writer.string(QString::fromLatin1(bytes.toBase64()));
    }
    writer.endObject();
    return writer.take();
}

void setAside(const QString& path) {
    try {
        setDamagedFileAside(path, static_cast<double>(QDateTime::currentMSecsSinceEpoch()));
    } catch (const FileError& error) {
        throw KeychainError(error.text());
    }
}

} // namespace

FileKeychain::Items FileKeychain::load() const {
    QFile file(path_);
    if (!file.exists())
        return {};
    if (!file.open(QFile::ReadOnly))
        throw KeychainError(QStringLiteral("the file of secrets cannot be read"));
    try {
        return decode(file.readAll());
    } catch (const JsonError&) {
        throw DamagedFile();
    }
}

FileKeychain::Items FileKeychain::loadForChange() const {
    try {
        return load();
    } catch (const DamagedFile&) {
        setAside(path_);
        save({});
        return {};
    }
}

void FileKeychain::save(const Items& items) const {
    try {
        writeFileAtomically(path_, encode(items));
        const QString folder = QFileInfo(path_).absolutePath();
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    } catch (const FileError& error) {
        throw KeychainError(error.text());
    }
}

QCoro::Task<std::optional<QByteArray>> FileKeychain::read(QString account, std::stop_token) {
    const Items items = load();
    const auto found = items.constFind(account);
    co_return found == items.cend() ? std::nullopt : std::optional(*found);
}

QCoro::Task<void> FileKeychain::write(QString account, QByteArray bytes, std::stop_token) {
    Items items = loadForChange();
    items.insert(account, bytes);
    save(items);
    co_return;
}

QCoro::Task<void> FileKeychain::remove(QString account, std::stop_token) {
    Items items = loadForChange();
    if (items.remove(account) > 0)
        save(items);
    co_return;
}

} // namespace teskal
