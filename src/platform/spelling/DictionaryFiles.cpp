#include "DictionaryFiles.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QStandardPaths>

#include <algorithm>
#include <optional>

namespace teskal {

namespace {

std::optional<DictionaryFiles> found(const QString& folder, const QString& language) {
    const QString path = folder + QLatin1Char('/') + language;
    if (QFileInfo(path + QStringLiteral(".aff")).isFile() &&
        QFileInfo(path + QStringLiteral(".dic")).isFile())
        return DictionaryFiles{language, path};
    return std::nullopt;
}

std::optional<DictionaryFiles> findExactly(const QStringList& folders, const QString& language) {
    for (const QString& folder : folders) {
        if (const auto files = found(folder, language))
            return files;
    }
    return std::nullopt;
}

std::optional<DictionaryFiles> findForAnyCountry(const QStringList& folders, const QString& language) {
    if (const auto files = findExactly(folders, QLocale(language).name()))
        return files; // where most of those live who speak it
    for (const QString& folder : folders) {
        const QStringList names =
            QDir(folder).entryList({language + QStringLiteral("_*.dic")}, QDir::Files, QDir::Name);
        for (const QString& name : names) {
            if (const auto files = found(folder, name.chopped(4)))
                return files;
        }
    }
    return std::nullopt;
}

} // namespace

DictionaryPlaces DictionaryPlaces::ofUser() {
    DictionaryPlaces places;
    places.folders = qEnvironmentVariable("DICPATH").split(QDir::listSeparator(), Qt::SkipEmptyParts);
    for (const char* folder : {"hunspell", "myspell/dicts"})
        places.folders += QStandardPaths::locateAll(QStandardPaths::GenericDataLocation,
                                                    QLatin1String(folder), QStandardPaths::LocateDirectory);
    places.languages = QLocale::system().uiLanguages();
    places.home = QDir::homePath();
    return places;
}

QList<DictionaryFiles> DictionaryFiles::find(const DictionaryPlaces& places) {
    QList<DictionaryFiles> all;
    QStringList served; // languages without their countries
    for (QString name : places.languages) {
        name.replace(QLatin1Char('-'), QLatin1Char('_'));
        const QString language = name.section(QLatin1Char('_'), 0, 0);
        if (served.contains(language))
            continue;
        auto files = findExactly(places.folders, name);
        // The names of one language follow each other, the plain one after that with the country.
        if (!files && name == language)
            files = findForAnyCountry(places.folders, language);
        if (!files)
            continue;
        all.append(*files);
        served.append(language);
    }
    return all;
}

} // namespace teskal
