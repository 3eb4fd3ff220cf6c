#include "Dictionary.h"

#include <QFile>
#include <QLocale>

#include <algorithm>

namespace teskal {

namespace {

constexpr QChar curlyApostrophe(0x2019);
/// Hunspell judges nothing longer.
constexpr qsizetype longestWord = 100;

/// The dictionaries' own names for Windows' code pages are not the system's.
QByteArray systemName(QByteArray encoding) {
    return encoding.replace("microsoft-cp", "CP");
}

/// The one that the language's name for itself is written in.
QChar::Script scriptOf(const QString& language) {
    const QString name = QLocale(language).nativeLanguageName();
    return name.isEmpty() ? QChar::Script_Latin : name.at(0).script();
}

} // namespace

Dictionary::Dictionary(const DictionaryFiles& files)
    : hunspell_(QFile::encodeName(files.path + QStringLiteral(".aff")).constData(),
                QFile::encodeName(files.path + QStringLiteral(".dic")).constData()),
      transcoder_(systemName(QByteArray::fromStdString(hunspell_.get_dict_encoding()))),
      script_(scriptOf(files.language)) {}

std::optional<std::string> Dictionary::encode(QString word) const {
    const auto bytes = transcoder_.encode(word.replace(curlyApostrophe, QLatin1Char('\'')));
    return bytes ? std::optional(bytes->toStdString()) : std::nullopt;
}

bool Dictionary::isInScript(const QString& word) const {
    return std::all_of(word.begin(), word.end(), [this](QChar letter) {
        return letter.script() == script_ || letter.script() == QChar::Script_Common ||
               letter.script() == QChar::Script_Inherited;
    });
}

bool Dictionary::knows(const QString& word) {
    if (word.size() > longestWord || !isInScript(word))
        return true;
    const auto bytes = encode(word);
    return !bytes || hunspell_.spell(*bytes);
}

QStringList Dictionary::suggestions(const QString& word) {
    QStringList all;
    const auto bytes = encode(word);
    if (!bytes)
        return all;
    for (const std::string& suggestion : hunspell_.suggest(*bytes)) {
        QString text = transcoder_.decode(QByteArray::fromStdString(suggestion)).value_or(QString());
        if (word.contains(curlyApostrophe))
            text.replace(QLatin1Char('\''), curlyApostrophe);
        if (!text.isEmpty())
            all.append(text);
    }
    return all;
}

void Dictionary::add(const QString& word) {
    if (const auto bytes = encode(word))
        hunspell_.add(*bytes);
}

void Dictionary::addPersonal(const QByteArray& lines) {
    for (const QString& line : QString::fromUtf8(lines).split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QString word = line.trimmed();
        const auto like = encode(word.section(QLatin1Char('/'), 1));
        if (word.startsWith(QLatin1Char('*'))) {
            if (const auto bytes = encode(word.mid(1)))
                hunspell_.remove(*bytes);
        } else if (like && !like->empty()) {
            if (const auto bytes = encode(word.section(QLatin1Char('/'), 0, 0)))
                hunspell_.add_with_affix(*bytes, *like);
        } else {
            add(word);
        }
    }
}

} // namespace teskal
