#include "SpellChecker.h"

#include "Dictionary.h"

#include <QFile>

#include <algorithm>
#include <list>

namespace teskal {

namespace {

/// More words than anybody writes in an hour; a text that is pasted may have any number.
constexpr qsizetype mostKnown = 20'000;
constexpr qsizetype mostSuggestions = 5;

} // namespace

/// What the worker asks; nothing is loaded before the first question.
struct SpellChecker::Dictionaries {
    std::function<DictionaryPlaces()> places;
    bool isLoaded = false;
    std::list<Dictionary> all;
    QString personal; ///< the file of the user's own words, which is the first dictionary's

    void load();
    bool isMisspelt(const QString& word);
    QStringList suggestions(const QString& word);
    void add(const QString& word);
};

void SpellChecker::Dictionaries::load() {
    if (std::exchange(isLoaded, true))
        return;
    const DictionaryPlaces known = places();
    for (const DictionaryFiles& files : DictionaryFiles::find(known)) {
        all.emplace_back(files);
        if (personal.isEmpty())
            personal = known.home + QStringLiteral("/.hunspell_") + files.language;
    }
    QFile words(personal);
    if (!all.empty() && words.open(QFile::ReadOnly))
        all.front().addPersonal(words.readAll());
}

bool SpellChecker::Dictionaries::isMisspelt(const QString& word) {
    load();
    return !all.empty() && std::none_of(all.begin(), all.end(),
                                        [&word](Dictionary& dictionary) { return dictionary.knows(word); });
}

QStringList SpellChecker::Dictionaries::suggestions(const QString& word) {
    load();
    QStringList few;
    for (Dictionary& dictionary : all)
        few += dictionary.suggestions(word).mid(
            0, std::max<qsizetype>(1, mostSuggestions / qsizetype(all.size())));
    few.removeDuplicates();
    return few;
}

void SpellChecker::Dictionaries::add(const QString& word) {
    load();
    if (all.empty())
        return;
    all.front().add(word);
    QFile words(personal);
    const bool isNew = !words.exists();
    if (!words.open(QFile::ReadWrite))
        return; // it is known as long as the application runs
    if (isNew)
        words.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    const bool isWhole = words.size() == 0 || (words.seek(words.size() - 1) && words.read(1) == "\n");
    words.seek(words.size());
    words.write((isWhole ? QByteArray() : QByteArrayLiteral("\n")) + word.toUtf8() + '\n');
}

SpellChecker::SpellChecker(std::function<DictionaryPlaces()> places, QObject* parent)
    : QObject(parent), dictionaries_(std::make_shared<Dictionaries>()) {
    dictionaries_->places = std::move(places);
}

SpellChecker::~SpellChecker() = default;

bool SpellChecker::isMisspelt(const QString& word) {
    if (const auto known = misspelt_.constFind(word); known != misspelt_.cend())
        return *known;
    if (misspelt_.size() >= mostKnown)
        misspelt_.clear();
    misspelt_.insert(word, false); // asked for once
    waiting_.append(word);
    if (!std::exchange(isJudging_, true))
        QMetaObject::invokeMethod(this, &SpellChecker::judgeWaiting, Qt::QueuedConnection);
    return false;
}

void SpellChecker::judgeWaiting() {
    const auto wrong = std::make_shared<QStringList>();
    const auto work = [asked = std::exchange(waiting_, {}), dictionaries = dictionaries_, wrong] {
        std::copy_if(asked.begin(), asked.end(), std::back_inserter(*wrong),
                     [&](const QString& word) { return dictionaries->isMisspelt(word); });
    };
    worker_.run(work, [this, wrong] {
        isJudging_ = !waiting_.isEmpty();
        if (isJudging_)
            judgeWaiting();
        for (const QString& word : *wrong)
            misspelt_.insert(word, true);
        if (!wrong->isEmpty())
            Q_EMIT judged();
    });
}

void SpellChecker::suggest(const QString& word, std::function<void(const QStringList&)> done) {
    const auto words = std::make_shared<QStringList>();
    worker_.run([word, words, dictionaries = dictionaries_] { *words = dictionaries->suggestions(word); },
                [words, done = std::move(done)] { done(*words); });
}

void SpellChecker::add(const QString& word) {
    misspelt_.insert(word, false);
    worker_.run([word, dictionaries = dictionaries_] { dictionaries->add(word); }, nullptr);
    Q_EMIT judged();
}

} // namespace teskal
