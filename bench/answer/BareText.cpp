#include "BareText.h"

#include "EnginePage.h"
#include "WaitUntil.h"

#include <QElapsedTimer>
#include <QTimer>

#include <stdexcept>

namespace teskal::bench {

namespace {

constexpr int warmUp = 20; ///< updates

const char* const prepare = R"js({
    const text = document.createElement('div');
    document.body.replaceChildren(text);
    let paragraph;
    window.append = (piece) => {
        if (!paragraph || paragraph.textContent.length > 400) {
            paragraph = document.createElement('p');
            text.append(paragraph);
        }
        paragraph.append(piece);
        const page = document.documentElement;
        page.scrollTop = page.scrollHeight;
    };
} true)js";

} // namespace

Cpu measureBareText(test::EnginePage& page) {
    if (!page.evaluate(QLatin1String(prepare)).toBool())
        throw std::runtime_error("the page does not take bare text");
    const QString piece =
        QStringLiteral("lorem ipsum dolor sit amet ").repeated(3).left(PacedAnswer::smallPiece);
    const QString append = QStringLiteral("append('%1')").arg(piece);
    QTimer wake;
    wake.start(std::chrono::milliseconds(2));
    QElapsedTimer time;
    time.start();
    Cpu begin;
    for (int update = 0; update < warmUp + PacedAnswer::updates; ++update) {
        if (update == warmUp)
            begin = cpuUntilNow();
        if (!test::waitUntil([&] { return time.elapsed() >= PacedAnswer::interval * (update + 1); }))
            throw std::runtime_error("time stands still");
        page.page().runJavaScript(append);
    }
    return perUpdate(begin, cpuUntilNow(), PacedAnswer::updates);
}

} // namespace teskal::bench
