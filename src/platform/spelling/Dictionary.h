#pragma once

#include "DictionaryFiles.h"
#include "Transcoder.h"

#include <QChar>

#include <hunspell.hxx>

namespace teskal {

/// The words of one language, as Hunspell knows them. Any thread, one at a time; making one takes up to a
/// second.
class Dictionary {
public:
    explicit Dictionary(const DictionaryFiles& files);

    /// False for what is misspelt. Words in another script are none of its business, and right.
    bool knows(const QString& word);
    /// Words that may be meant, the most likely one first.
    QStringList suggestions(const QString& word);
    /// Knows \a word from now on.
    void add(const QString& word);
    /// Takes a file of the user's own words: one a line, "*" before one that is forbidden, and "/" with a
    /// word whose endings it takes behind one.
    void addPersonal(const QByteArray& lines);

private:
    std::optional<std::string> encode(QString word) const;
    bool isInScript(const QString& word) const;

    Hunspell hunspell_;
    Transcoder transcoder_;
    QChar::Script script_;
};

} // namespace teskal
