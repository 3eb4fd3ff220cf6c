#include "AnswerTexts.h"

#include "Encoding.h"

namespace teskal::service::texts {

namespace {

constexpr int beat = 24; ///< ticks; at the usual pace a little over half a second

} // namespace

Script trip() {
    const std::string searching = "Searching the web";
    // A phase that repeats a step's text says that this step is under way; the next phase says what is done.
    const std::string connections = "Find connections and prices";
    const std::string rain = "Check what is open when it rains";
    const std::string order = "Put both days in order";
    Script script;
    script.phase("Planning").wait(beat).plan({connections, rain, order}).wait(beat);
    script.phase(connections).phase(searching).search("Vienna Trieste train December 2026").wait(2 * beat);
    script.phase(rain).phase(searching).search("Trieste museums open Sunday").wait(beat);
    script.text(
        R"(The direct night train leaves Vienna at 21:27 and arrives before seven, so you have **two full days** and need one hotel night.

### Saturday, dry

- Breakfast on the Molo Audace, then the path from Opicina to Prosecco.
- Miramare in the afternoon light; bus 6 back)");
    script.wait(beat).phase(order).phase("Writing").wait(beat);
    script.text(R"( along the sea before dark.
- Dinner in a *buffet* near the station: boiled ham, horseradish, a glass of Terrano.

### Sunday, with rain

1. Revoltella museum when it opens at nine; the roof terrace is worth a wet minute.
2. Coffee at Caffè San Marco. A *nero* is an espresso, a *capo* has milk.
3. The Risiera or the sea museum, both a short bus ride away.

| Train | Leaves | Arrives | From |
|:------|:------:|:-------:|-----:|
| Night train, Friday | 21:27 | 06:48 | € 39.90 |
| Day train, Sunday | 15:10 | 00:24 | € 29.90 |

> Book the night train early: in December its couchettes go first.

Shall I look for a hotel within walking distance of the station?
)");
    return script;
}

Script parser() {
    Script script;
    script.phase("Thinking").wait(2 * beat);
    script.text(R"(Stay with **C++**: the grammar is small, and a second toolchain costs more than it saves.

### How I would start

- A lexer over `std::string_view`, errors as values.

```cpp
auto parse(std::string_view in) -> std::expected<Ast, Error> {
    Lexer lex{in};                  // no allocation per token
    return expression(lex, 0);
}
```

| Choice | Build time | Error quality |
|--------|-----------:|---------------|
| Hand-written | 0.4 s | you decide |
| Generator | 3.1 s | good, with effort |
| Combinators | 9.8 s | hard to read |

### Then

1. One function per rule; forty rules are an afternoon.
2. Precedence climbing for expressions, so that the grammar’s left recursion disappears.
3. A corpus of inputs that must fail, each with the message you would want to read.
)");
    return script;
}

Script table() {
    Script script;
    script.phase("Comparing").wait(beat);
    script.text(R"(Here are three ways to keep a kitchen worktop, side by side:

| Material | Price per metre | Heat | Scratches | Looks after ten years |
|:---------|----------------:|:----:|:---------:|:----------------------|
| Oak, oiled | € 180 | ✗ | ✗ | warmer, with a story |
| Granite | € 340 | ✓ | ✓ | as on the first day |
| Laminate | € 70 | ✗ | ✓ | edges need care |
| Stainless steel | € 410 | ✓ | ✗ | a fine, even haze |

**In short:** granite forgives the most, oak ages best, and laminate leaves money for the tap.
)");
    return script;
}

Script code() {
    Script script;
    script.phase("Writing code").wait(beat);
    script.text(R"(A sliding window keeps this linear: every character enters once and leaves once.

```python
def longest_unique(text: str) -> str:
    """The longest part of text in which no character repeats."""
    start, best, seen = 0, "", {}
    for end, char in enumerate(text):
        if seen.get(char, -1) >= start:
            start = seen[char] + 1      # drop everything up to the repeat
        seen[char] = end
        if end - start + 1 > len(best):
            best = text[start : end + 1]
    return best
```

Try it in the shell:

```console
$ python3 -c 'from unique import *; print(longest_unique("überübersetzung"))'
übersetz
```

The same idea in a query, for good measure:

```sql
SELECT customer_id, max(ordered_at) AS last_order
FROM orders
WHERE status <> 'cancelled'
GROUP BY customer_id
ORDER BY last_order DESC;
```

`seen` never shrinks, so memory is bounded by the *alphabet*, not by the text.
)");
    return script;
}

Script math() {
    Script script;
    script.phase("Thinking").wait(beat);
    script.text(R"(The Fourier transform asks one question of a signal: *how much of each frequency is in it?*

$$
\hat{f}(\xi) = \int_{-\infty}^{\infty} f(x)\, e^{-2\pi i x \xi}\, \mathrm{d}x
$$

For every frequency $\xi$ the factor $e^{-2\pi i x \xi}$ turns at that speed. Where the signal turns with it, the integral grows; elsewhere it cancels out.

### An example

The bell curve is its own transform:

$$
f(x) = e^{-\pi x^2} \quad\Longrightarrow\quad \hat{f}(\xi) = e^{-\pi \xi^2}
$$

Two facts carry most of the weight:

1. **Convolution becomes multiplication:** $\widehat{f * g} = \hat{f} \cdot \hat{g}$.
2. **Nothing is lost:** $\int |f|^2 = \int |\hat{f}|^2$.

And with matrices, a rotation by $\theta$:

$$
R(\theta) = \begin{pmatrix} \cos\theta & -\sin\theta \\ \sin\theta & \cos\theta \end{pmatrix}
$$
)");
    return script;
}

Script list() {
    Script script;
    script.phase("Writing").wait(beat);
    script.text(R"(Here is a plan you can tick off:

- [x] Choose a date
- [x] Ask everyone about allergies
- [ ] Book the long table
- [ ] Write the menu

### What to cook

1. **Starter**
   - Beetroot with horseradish
   - Bread from the day before, toasted
2. **Main course**
   - Slow lamb, or
   - Aubergines with tahini and pomegranate
3. **Dessert**
   1. Pears in red wine
   2. A cake that travels well

- Drinks go in the *bath tub*, with ice.
- Music: whoever arrives first chooses.
)");
    return script;
}

Script search() {
    Script script;
    script.phase("Searching the web").wait(beat).search("overnight trains Europe new routes").wait(beat);
    script.search("night train sleeper timetable").wait(beat).phase("Reading 3 pages").wait(2 * beat);
    script.phase("Writing");
    script.text(R"(Night trains are growing again, slowly. Three things stand out:

- **More routes**, mostly between capitals, with two or three departures a week.
- **New carriages** with single cabins, which sell out first.
- **Prices** that follow demand: the same bed costs twice as much on a Friday.

Sources: [Example Rail](https://example.com/rail), [Timetable notes](https://example.org/timetables) and [A traveller’s log](https://example.net/log).
)");
    return script;
}

Script everything() {
    Script script;
    script.phase("Writing").wait(beat);
    script.text(R"(# Everything at once

A paragraph with **bold**, *italic*, ~~struck~~ and `inline code`, a [link](https://example.com/), some math $a^2 + b^2 = c^2$, and letters from everywhere: größer, naïve, Ελλάδα, Привет, 日本語, مرحبا, 🎻 and 👩‍🚀.

## Quotes

> A quote that is long enough to wrap on a narrow window, so that the line beside it has something to hold.
>
> > And one inside it.

## Lists

- one
  - nested
    - twice
- [x] done
- [ ] open

1. first
2. second

)");
    script.text(table().plainText()).text("\n").text(code().plainText()).text("\n").text(math().plainText());
    script.text(R"(
---

### Hard cases

Raw markup stays text: <b>not bold</b> <script>alert(1)</script>. A picture from elsewhere is not loaded: ![far away](https://example.com/picture.png). A very long word: Donaudampfschifffahrtselektrizitätenhauptbetriebswerkbauunterbeamtengesellschaft.

```
a code block without a language, with a line that is a good deal wider than the column and therefore scrolls sideways instead of wrapping
```
)");
    return script;
}

Script longRead() {
    constexpr std::size_t wanted = 100 * 1024;
    Script script;
    script.phase("Writing").wait(beat);
    script.text("# A long read\n\nA walk through everything, several times over.\n\n");
    const std::string parts[] = {list().plainText(), table().plainText(), code().plainText(),
                                 math().plainText(), search().plainText()};
    std::size_t size = 0;
    for (std::size_t chapter = 0; size < wanted; ++chapter) {
        const std::string text =
            "## Chapter " + std::to_string(chapter + 1) + "\n\n" + parts[chapter % std::size(parts)] + "\n";
        size += text.size();
        script.text(text);
    }
    return script;
}

Script slow() {
    Script script;
    script.phase("Thinking").wait(beat / 4).phase("Still thinking").wait(beat / 4);
    script.text("Good things take a moment.\n\n"
                "While you wait you can stop this answer, write the next message, or look into another chat: "
                "this one keeps going by itself and is marked in the sidebar.\n\n"
                "There. That was **all of it**.\n");
    return script;
}

Script help(const std::string& kinds) {
    Script script;
    script.phase("Thinking").wait(beat / 2);
    script.text(
        "Happy to. This is the local service speaking: it has no model behind it, but it can show you "
        "what Teskal does with one.\n\n" +
        kinds + "\nAnything else gets a plain answer. Try *Plan a weekend in Trieste by train*.\n");
    return script;
}

Script thoughtful(const ChatRequest& request) {
    constexpr std::size_t longestQuote = 400;
    const ChatTurn& turn = request.question();
    std::string quote;
    for (const char c : turn.content.substr(0, longestQuote))
        quote += c == '\n' || c == '\r' ? ' ' : c;
    while (!quote.empty() && !isUtf8(quote)) // the limit may have cut a character
        quote.pop_back();
    if (turn.content.size() > longestQuote)
        quote += "…";

    Script script;
    script.phase("Thinking").wait(beat);
    if (!quote.empty())
        script.text("You wrote:\n\n> " + quote + "\n\n");
    if (!turn.attachments.empty()) {
        script.text("and sent along:\n\n");
        for (const ChatAttachment& attachment : turn.attachments)
            script.text("- `" + attachment.mediaType + "`" +
                        (attachment.isInline ? "" : ", uploaded before") + "\n");
        script.text("\n");
    }
    script.text(R"(Three thoughts, from near to far:

1. **What is asked.** Say it once more in your own words; half of all answers are found there.
2. **What is known.** Put the facts on one side and the guesses on the other, and look at the guesses first.
3. **What would change your mind.** If nothing would, it is settled already.

)");
    if (!request.isFirstExchange())
        script.text("This conversation has " + std::to_string(request.turns.size()) +
                    " messages so far, and I have read them all.\n\n");
    script.text(
        "I am the local service, with no model behind me. Write **help** to see what I can show you.\n");
    return script;
}

std::string songLyrics() {
    return "[Verse]\nThe kettle hums before the sun,\nthe tram goes by, the day’s begun.\n\n"
           "[Chorus]\nOh, many roads, and one of them is ours,\nwe’ll take it slow, we’ve got the hours.\n";
}

} // namespace teskal::service::texts
