#include "Answers.h"

#include "AnswerTexts.h"
#include "Encoding.h"
#include "Picture.h"

#include <algorithm>
#include <array>
#include <functional>
#include <span>

namespace teskal::service {

namespace {

const Route quick{"example/model-two",
                  "Model Two",
                  "Example Lab",
                  "chat",
                  "easy",
                  "speed",
                  "none",
                  false,
                  "A short question that a quick model answers well."};
const Route thorough{"example/model-one",
                     "Model One",
                     "Example Lab",
                     "code",
                     "hard",
                     "quality",
                     "high",
                     true,
                     "Needs careful reasoning over the whole conversation."};
const Route writer{"sample/model-three",
                   "Model Three",
                   "Sample Works",
                   "writing",
                   "medium",
                   "none",
                   "medium",
                   false,
                   "A longer text with structure."};
const Route researcher{"sample/model-four",
                       "Model Four",
                       "Sample Works",
                       "research",
                       "medium",
                       "quality",
                       "medium",
                       true,
                       "Depends on what the web says today."};
const Route painter{
    "example/model-pictures", "Model Pictures", "Example Lab", "image", "easy", "none", "none", false,
    "Asks for a picture."};
const Route director{
    "example/model-motion", "Model Motion", "Example Lab", "video", "medium", "none", "none", false,
    "Asks for a video."};
const Route composer{
    "sample/model-music", "Model Music", "Sample Works", "music", "medium", "none", "none", false,
    "Asks for a song."};

Route withTask(Route route, const std::string& task) {
    route.task = task;
    return route;
}

using Content = decltype(Answer::content);

/// One kind of answer: the words that ask for it and how it is made.
struct Kind {
    std::vector<std::string> words; ///< the first one is the one that help names
    std::string help;
    Route route;
    std::string title; ///< empty: made from the question
    std::function<Content(const ChatRequest&)> make;
};

std::function<Content(const ChatRequest&)> written(Script (*make)()) {
    return [make](const ChatRequest&) { return WrittenAnswer{make()}; };
}

std::function<Content(const ChatRequest&)> failing(int status, std::string message, std::string code = {}) {
    return [=](const ChatRequest&) { return FailedAnswer{status, message, code}; };
}

std::function<Content(const ChatRequest&)> cutWith(std::string bytes) {
    return [=](const ChatRequest&) {
        Script script;
        script.phase("Writing").wait(20).text("This answer starts well and then, in the middle of a ");
        script.unfinishedEvent(bytes);
        return WrittenAnswer{script};
    };
}

Content image(const ChatRequest& request) {
    const std::string& prompt = request.question().content;
    return MediaAnswer{{{"type", "image"},
                        {"dataUrl", "data:image/png;base64," + base64(drawPicture(prompt))},
                        {"prompt", prompt}}};
}

/// The words of `text` in lower case, each with a space on both sides.
std::string spacedWords(std::string_view text) {
    std::string out = " ";
    for (const char c : lowerAscii(text)) {
        const bool partOfWord =
            (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || (c & 0x80) != 0 || c == '\'';
        if (partOfWord)
            out += c;
        else if (out.back() != ' ')
            out += ' ';
    }
    if (out.back() != ' ')
        out += ' ';
    return out;
}

bool asksForFailure(const ChatRequest& request) {
    return spacedWords(request.question().content).find(" broken ") != std::string::npos;
}

Content video(const ChatRequest& request) {
    return MediaAnswer{{{"type", "video"},
                        {"requestId", "req_" + randomText(9)},
                        {"model", director.model},
                        {"prompt", request.question().content}},
                       asksForFailure(request)};
}

Content song(const ChatRequest& request) {
    return MediaAnswer{{{"type", "music"},
                        {"requestId", "req_" + randomText(9)},
                        {"model", composer.model},
                        {"lyrics", texts::songLyrics()},
                        {"prompt", request.question().content}},
                       asksForFailure(request)};
}

/// Failures are asked for by the first words only, so that a question about errors gets an answer.
const std::vector<Kind>& failureKinds() {
    static const std::vector<Kind> kinds = {
        {{"error credits"},
         "no credits left",
         quick,
         "Out of credits",
         [](const ChatRequest&) { return outOfCredits(); }},
        {{"error busy"},
         "a model that is too busy",
         quick,
         "A busy model",
         failing(503, "Every model is busy right now. Try again in a minute.", "OVERLOADED")},
        {{"error"},
         "a service that fails",
         quick,
         "An error",
         failing(500, "The model ran into a problem. Try again.")},
        {{"cut error"},
         "an answer that stops and says why",
         quick,
         "A cut answer",
         cutWith(R"({"error": "The model stopped before it finished. Ask again to retry."})")},
        {{"cut"},
         "an answer that stops in the middle",
         quick,
         "A cut answer",
         cutWith(R"({"type": "phase", "pha)")},
        {{"empty"},
         "no answer at all",
         quick,
         "No answer",
         [](const ChatRequest&) {
             Script script;
             script.phase("Thinking").wait(20).text(" \n");
             return WrittenAnswer{script};
         }},
    };
    return kinds;
}

const std::vector<Kind>& answerKinds() {
    static const std::vector<Kind> kinds = {
        {{"trip", "weekend", "itinerary"},
         "a journey planned in steps, with web searches",
         researcher,
         "Weekend in Trieste, by train",
         written(texts::trip)},
        {{"parser", "grammar"},
         "advice on writing a small parser",
         thorough,
         "Rust or C++ for a small parser",
         written(texts::parser)},
        {{"image", "picture", "draw"}, "a picture", painter, "", image},
        {{"video", "film"}, "a video, which fails when it is to be *broken*", director, "", video},
        {{"song", "music"}, "a song with lyrics, or a *broken* one", composer, "", song},
        {{"long"},
         "a very long read",
         writer,
         "",
         [](const ChatRequest&) {
             return WrittenAnswer{texts::longRead(), 320, 1};
         }},
        {{"slow"},
         "an answer that takes its time",
         writer,
         "",
         [](const ChatRequest&) {
             return WrittenAnswer{texts::slow(), 8, 10};
         }},
        {{"everything", "markdown"},
         "every kind of formatting at once",
         writer,
         "",
         written(texts::everything)},
        {{"table", "compare"},
         "a comparison in a table",
         withTask(quick, "analysis"),
         "",
         written(texts::table)},
        {{"math", "formula", "fourier", "integral"},
         "formulas",
         withTask(thorough, "math"),
         "",
         written(texts::math)},
        {{"code", "function", "program"}, "code", withTask(thorough, "code"), "", written(texts::code)},
        {{"search", "news", "today"},
         "something looked up on the web",
         researcher,
         "",
         written(texts::search)},
        {{"list", "tasks", "checklist"}, "lists, nested and with ticks", quick, "", written(texts::list)},
    };
    return kinds;
}

const Kind* kindFor(const std::string& words) {
    for (const Kind& kind : failureKinds()) {
        if (words.starts_with(' ' + kind.words.front() + ' '))
            return &kind;
    }
    for (const Kind& kind : answerKinds()) {
        const auto asks = [&](const std::string& word) {
            return words.find(' ' + word + ' ') != std::string::npos;
        };
        if (std::any_of(kind.words.begin(), kind.words.end(), asks))
            return &kind;
    }
    return nullptr;
}

std::string listOf(std::span<const Kind> kinds) {
    std::string list;
    for (const Kind& kind : kinds)
        list += "- **" + kind.words.front() + "**: " + kind.help + "\n";
    return list;
}

std::string helpList() {
    return "Put one of these words anywhere in your message:\n\n" + listOf(answerKinds()) +
           "\nAnd these, as the first words, show what happens when things go wrong:\n\n" +
           listOf(failureKinds());
}

/// A title from the first words of a question: one line that ends with the word that fills a sidebar row.
std::string titleFrom(const std::string& question) {
    constexpr std::size_t longest = 44;
    std::string title;
    bool space = false;
    for (const char c : trimmed(question)) {
        if (static_cast<unsigned char>(c) <= ' ') {
            space = true;
            continue;
        }
        if (space && title.size() > longest)
            break;
        if (space)
            title += ' ';
        space = false;
        title += c;
        if (title.size() > 3 * longest)
            break;
    }
    while (!title.empty() && !isUtf8(title)) // the hard limit may have cut a character
        title.pop_back();
    while (!title.empty() && std::string_view(".,;:!?").find(title.back()) != std::string_view::npos)
        title.pop_back();
    if (!title.empty() && title[0] >= 'a' && title[0] <= 'z')
        title[0] = static_cast<char>(title[0] - 'a' + 'A');
    return title.empty() ? "New chat" : title;
}

} // namespace

Json Route::decision() const {
    return {{"model", model},
            {"task", task},
            {"difficulty", difficulty},
            {"reason", reason},
            {"considered", Json::array({{{"model", model}, {"score", 0.93}},
                                        {{"model", "sample/model-five"}, {"score", 0.71}}})}};
}

FailedAnswer outOfCredits() {
    return {402, "You’re out of credits. Add some to keep chatting.", "INSUFFICIENT_CREDITS"};
}

Answer answerTo(const ChatRequest& request) {
    const std::string& question = request.question().content;
    const std::string words = spacedWords(question);
    if (const Kind* kind = kindFor(words))
        return {kind->route, kind->title.empty() ? titleFrom(question) : kind->title, kind->make(request)};
    if (words.starts_with(" help ") || words.find(" what can you ") != std::string::npos)
        return {quick, "What Teskal can do here", WrittenAnswer{texts::help(helpList())}};
    return {quick, titleFrom(question), WrittenAnswer{texts::thoughtful(request)}};
}

} // namespace teskal::service
