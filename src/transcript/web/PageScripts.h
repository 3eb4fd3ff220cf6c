#pragma once

/// What the adapter puts into the page before its own script runs.
namespace teskal::pageScripts {

/// Gives the page its handler at once; what it posts before the channel is up waits in line.
inline constexpr char handler[] = R"js(
(() => {
    const waiting = [];
    let receive = (message) => waiting.push(message);
    window.webkit = { messageHandlers: { teskal: { postMessage: (message) => receive(message) } } };
    new QWebChannel(qt.webChannelTransport, (channel) => {
        receive = (message) => channel.objects.teskal.receive(message);
        waiting.splice(0).forEach((message) => receive(message));
    });
})();
)js";

/// The adapter's own end in the page.
inline constexpr char port[] = R"js(
Object.defineProperty(window, 'teskalPort', { value: (() => {
    let last = null;
    const upsert = (message, appended) => {
        last = message;
        window.teskal.upsert(message, appended);
    };

    /// While the reader is held, puts the page back whenever the engine has scrolled it, before anybody hears
    /// or sees of it: the engine scrolls at once, or right before a frame's callbacks. Whoever takes hold of
    /// the page is let go; a turning wheel moves the place, as the engine may still be about to scroll.
    const hands = ['keydown', 'pointerdown', 'touchstart'];
    const longestHold = 1000;
    let held = null;
    const putBack = () => {
        const scroller = document.documentElement;
        scroller.scrollTop = held.atEnd ? scroller.scrollHeight : held.top;
    };
    const putBackEveryFrame = (hold) => {
        if (held !== hold) return;
        putBack();
        requestAnimationFrame(() => putBackEveryFrame(hold));
    };
    const letGo = () => {
        window.removeEventListener('scroll', putBack, true);
        window.removeEventListener('wheel', turn, true);
        for (const hand of hands) window.removeEventListener(hand, letGo, true);
        held = null;
    };
    const turn = ({ deltaY }) => {
        const { scrollTop, scrollHeight, clientHeight } = document.documentElement;
        const end = scrollHeight - clientHeight;
        const top = Math.min(Math.max((held.atEnd ? scrollTop : held.top) + deltaY, 0), end);
        held.top = top;
        held.atEnd = end - top < 2;
    };
    const hold = (place) => {
        letGo();
        held = place;
        window.addEventListener('scroll', putBack, true);
        window.addEventListener('wheel', turn, { capture: true, passive: true });
        for (const hand of hands) window.addEventListener(hand, letGo, { capture: true, passive: true });
        setTimeout(() => {
            if (held === place) letGo();
        }, longestHold);
        putBackEveryFrame(place);
    };

    return Object.freeze({
        upsert,
        /// The message sent last, of which the text was `length` long, has `text` after it now. The page is told
        /// what is new as well, so that it need not go through the whole text to find it.
        grow(id, length, text) {
            if (last?.id !== id || last.content.length !== length) throw new Error('not the message sent last');
            upsert({ ...last, content: last.content + text }, text);
        },
        holdReader() {
            const { scrollTop, scrollHeight, clientHeight } = document.documentElement;
            hold({ top: scrollTop, atEnd: scrollHeight - clientHeight - scrollTop < 2 });
        },
        /// The reader, if held, goes to the end and is held there.
        holdReaderAtEnd() {
            if (held) held.atEnd = true;
        },
        letReaderGo: letGo,
        letReaderGoSoon() {
            const last = held;
            if (!last) return;
            const end = () => {
                if (held === last) letGo();
            };
            putBack();
            // The engine may scroll with the next frame; a hidden page has none.
            requestAnimationFrame(() => requestAnimationFrame(end));
            setTimeout(end, 200);
        },
    });
})() });
)js";

/// Runs before the document has its root element, and sets the theme (%1) in the same turn in which that
/// appears.
inline constexpr char theme[] = R"js(
new MutationObserver((_, observer) => {
    if (!document.documentElement) return;
    observer.disconnect();
    document.documentElement.dataset.theme = '%1';
}).observe(document, { childList: true });
)js";

} // namespace teskal::pageScripts
