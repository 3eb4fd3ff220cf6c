#pragma once

#include <QString>
#include <QStringList>

namespace teskal {

/// Where the user's dictionaries are, and for which languages they are wanted.
struct DictionaryPlaces {
    QStringList folders;   ///< where they are looked for, the first one first
    QStringList languages; ///< "de-AT", the most important one first
    QString home;          ///< in which Hunspell keeps the user's own words, in one file for each dictionary

    /// Hunspell's own places and the languages of the desktop. Any thread.
    static DictionaryPlaces ofUser();
};

/// A dictionary: a file of rules and a file of words.
struct DictionaryFiles {
    QString language; ///< "de_AT", as the files are named
    QString path;     ///< of both, without the endings ".aff" and ".dic"

    /// One dictionary for each of the languages that have any, in their order: the one for the country where
    /// there is one, else any of the language. Any thread.
    static QList<DictionaryFiles> find(const DictionaryPlaces& places);
};

} // namespace teskal
