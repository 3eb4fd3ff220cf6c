#pragma once

#include "DictionaryFiles.h"
#include "SerialWorker.h"

#include <QHash>
#include <QObject>
#include <QStringList>

#include <functional>
#include <memory>

namespace teskal {

/// Judges words by the dictionaries that are installed for the user's languages; where there are none, every
/// word is right. The dictionaries are loaded, with the first word, and asked beside the main thread: an
/// answer is there the next time. Main thread only.
class SpellChecker final : public QObject {
    Q_OBJECT

public:
    /// \a places is called beside the main thread.
    explicit SpellChecker(std::function<DictionaryPlaces()> places, QObject* parent = nullptr);
    ~SpellChecker() override;

    /// Whether \a word is known to be in none of the dictionaries. A word that was not asked for before is
    /// not; judged() follows.
    bool isMisspelt(const QString& word);
    /// Finds words that may be meant by \a word, the most likely one first, and calls \a done with them; not
    /// when the checker goes before.
    void suggest(const QString& word, std::function<void(const QStringList&)> done);
    /// Finds \a word right from now on, in this and other programs that use Hunspell.
    void add(const QString& word);

Q_SIGNALS:
    /// More words are judged than before, or otherwise.
    void judged();

private:
    struct Dictionaries;

    void judgeWaiting();

    std::shared_ptr<Dictionaries> dictionaries_; ///< the worker's
    QHash<QString, bool> misspelt_;              ///< what is known
    QStringList waiting_;                        ///< to be judged, without a place in misspelt_
    bool isJudging_ = false;
    SerialWorker worker_;
};

} // namespace teskal
