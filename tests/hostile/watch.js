// Runs in the transcript page and writes down everything that what people or models wrote must not bring
// about. `watch.offences()` tells and forgets what was seen since the last time.
(() => {
    const seen = [];
    const note = (what) => { if (seen.length < 40) seen.push(String(what).slice(0, 160)); };

    // What a payload would call, and what a script could do that the host cannot see.
    window.pwned = () => note('script ran');
    for (const name of ['alert', 'confirm', 'prompt', 'print', 'open']) window[name] = () => note(`${name}()`);
    window.addEventListener('error', (event) => {
        if (!event.defaultPrevented) note(`error: ${event.message}`);
    });
    window.addEventListener('unhandledrejection', (event) => note(`rejection: ${event.reason}`));
    navigation.addEventListener('navigate', (event) => note(`navigation: ${event.destination.url}`));
    document.addEventListener('securitypolicyviolation',
        (event) => note(`policy: ${event.violatedDirective} ${event.blockedURI}`));

    const body = document.body;
    const transcript = document.getElementById('transcript');
    const own = { teskal: window.teskal, webkit: window.webkit, body };
    const ids = ['transcript', 'to-end', 'announcer'];
    const byId = ids.map((id) => document.getElementById(id));
    // Scripts and styles that are there before anything was said; the math style comes with a first formula.
    const ownScripts = document.querySelectorAll('script').length;

    const words = (list) => new Set(list.split(' '));
    const HTML = 'http://www.w3.org/1999/xhtml';
    /** What the page makes of Markdown. */
    const TEXT = words('a blockquote br code col colgroup div em h1 h2 h3 h4 h5 h6 hr li ol p pre s section span '
        + 'strong sub sup table tbody td th thead tr ul');
    /** What else the page makes around it. */
    const AROUND = words('article audio aside button details dd dl dt figcaption figure footer header img label '
        + 'nav small summary time track video');
    const IN_BLOCKS = new Set([...TEXT, 'button']);
    const AROUND_BLOCKS = new Set([...TEXT, ...AROUND]);
    const ICON = words('svg path circle rect line polyline polygon ellipse g');
    const FORMULA = words('svg path line math semantics annotation mrow mi mo mn mtext mspace ms msup msub msubsup '
        + 'mover munder munderover mfrac msqrt mroot mtable mtr mtd mlabeledtr mstyle mpadded mphantom menclose '
        + 'mglyph merror mfenced mmultiscripts mprescripts none');
    /** Attributes that load, post, name, embed or navigate by themselves, or that only templates need. */
    const NEVER = words('action formaction ping srcset srcdoc background data manifest target is slot name nonce '
        + 'autofocus autoplay http-equiv xlink:href usemap longdesc cite codebase classid profile form part');
    const LINK = /^(?:https?:\/\/[^/@]+(?:\/|$)|mailto:)/;
    const FILE = /^teskal-app:\/\/file\/[A-Za-z0-9_-]+$/;
    const INLINE = /^data:(?:image\/(?:png|jpeg|webp|gif)|audio\/[a-z0-9.+-]+|video\/[a-z0-9.+-]+)[;,]/i;
    /** Classes of the page's interface, which text must not come to wear. */
    const INTERFACE = words('route route-name route-detail actions error-card media-card picture plain-button '
        + 'icon-button attachment bubble message activity link-card user answer visually-hidden');

    function placed(element) {
        if (element.closest('.math .katex')) return element.namespaceURI === HTML ? TEXT : FORMULA;
        if (element.namespaceURI !== HTML) return element.closest('svg.icon') ? ICON : new Set();
        return element.closest('.block') ? IN_BLOCKS : AROUND_BLOCKS;
    }

    function attributeOffence(element, { name, value }) {
        if (/^on/i.test(name) || NEVER.has(name)) return true;
        if (name === 'id') return true;
        if (name === 'href') return element.localName !== 'a' || !LINK.test(value);
        if (name === 'src' || name === 'poster') return !FILE.test(value) && !INLINE.test(value);
        if (name === 'style') return /url\(|@import|expression|position:\s*(?:fixed|sticky)|var\(/i.test(value);
        if (name === 'class' && element.closest('.block')) {
            return [...element.classList].some((part) => INTERFACE.has(part)) && !element.closest('.link-card');
        }
        return false;
    }

    /** Formulas place their parts freely; none may be painted over another message or the interface. */
    function drawsOutside(element) {
        const message = element.closest('article').getBoundingClientRect();
        let { top, bottom } = element.getBoundingClientRect();
        if (top === bottom) return false;
        for (let at = element.parentElement; at !== transcript; at = at.parentElement) {
            const { overflowY, contain, contentVisibility } = getComputedStyle(at);
            const clips = overflowY !== 'visible' || /paint|strict|content/.test(contain);
            if (!clips && contentVisibility !== 'auto') continue;
            const clip = at.getBoundingClientRect();
            top = Math.max(top, clip.top);
            bottom = Math.min(bottom, clip.bottom);
        }
        return bottom > top && (top < message.top - 40 || bottom > message.bottom + 40);
    }

    function isPainted(part) {
        const style = getComputedStyle(part);
        return part.childElementCount === 0 && (/[^\s\u200b]/.test(part.textContent)
            || style.backgroundColor !== 'rgba(0, 0, 0, 0)'
            || ['borderTopWidth', 'borderRightWidth', 'borderBottomWidth'].some((side) => style[side] !== '0px'));
    }

    function inspect() {
        for (const element of transcript.getElementsByTagName('*')) {
            if (!placed(element).has(element.localName)) note(`element <${element.localName}>`);
            for (const attribute of element.attributes) {
                if (attributeOffence(element, attribute)) {
                    note(`attribute ${element.localName} ${attribute.name}=${attribute.value}`);
                }
            }
        }
        const parts = [...transcript.querySelectorAll('.katex-html span')].slice(0, 400);
        if (parts.some((part) => isPainted(part) && drawsOutside(part))) note('formula over its message');

        if (document.title !== 'Teskal') note(`title ${document.title}`);
        if (location.href !== 'teskal-app://renderer/index.html') note(`location ${location.href}`);
        for (const [name, value] of Object.entries(own)) {
            if ((window[name] ?? document[name]) !== value) note(`${name} replaced`);
        }
        ids.forEach((id, index) => {
            if (document.getElementById(id) !== byId[index]) note(`#${id} replaced`);
            if (document.querySelectorAll(`[id="${id}"]`).length !== 1) note(`#${id} twice`);
        });
        if (document.querySelectorAll('script').length !== ownScripts) note('a script element');
        for (const { href } of document.styleSheets) {
            if (!href?.startsWith('teskal-app://renderer/')) note(`style sheet ${href}`);
        }
        if (document.querySelector('base, meta[http-equiv=refresh], iframe, object, embed, form, dialog[open]')) {
            note('an element that embeds or redirects');
        }
        if (Object.prototype.polluted !== undefined || Array.prototype.polluted !== undefined) note('prototype');
    }

    // Milliseconds of the longest task since the last time. Tasks under 50 ms are not reported.
    let longest = 0;
    const measure = (entries) => { for (const { duration } of entries) longest = Math.max(longest, duration); };
    const tasks = new PerformanceObserver((list) => measure(list.getEntries()));
    tasks.observe({ type: 'longtask' });

    let changes = 0;
    new MutationObserver(() => { changes += 1; })
        .observe(transcript, { childList: true, characterData: true, subtree: true });

    // A call that the page cannot digest would leave the reader without what it brought.
    for (const [name, call] of Object.entries(own.teskal)) {
        own.teskal[name] = (...given) => {
            try {
                return call(...given);
            } catch (error) {
                note(`${name} failed: ${error}`);
                throw error;
            }
        };
    }

    /**
     * Colours and drawn formulas come late, and only near the window; below them the text must be the same. What
     * the engine is spared to lay out is a matter of the window as well.
     */
    function undecorated(answer) {
        const copy = answer.cloneNode(true);
        for (const part of copy.querySelectorAll('.aside')) {
            part.classList.remove('aside');
            if (part.classList.length === 0) part.removeAttribute('class');
        }
        for (const formula of copy.querySelectorAll('.math[data-tex]')) formula.textContent = '';
        for (const piece of copy.querySelectorAll('pre code, pre .lines')) {
            if (!piece.querySelector('.lines')) piece.textContent = piece.textContent;
        }
        return copy;
    }

    window.watch = {
        note,
        offences() {
            inspect();
            return seen.splice(0);
        },
        /** Posts "settled" once a picture was painted and nothing changed while it was. */
        settle(turn) {
            const before = changes;
            requestAnimationFrame(() => setTimeout(() => {
                if (changes !== before) return this.settle(turn);
                measure(tasks.takeRecords());
                window.webkit.messageHandlers.teskal.postMessage({ type: 'settled', turn, longest });
                longest = 0;
            }));
        },
        /** Follows every link, as a click would. */
        pressLinks() {
            for (const link of [...transcript.querySelectorAll('a')].slice(0, 20)) {
                link.dispatchEvent(new MouseEvent('click', { bubbles: true, cancelable: true }));
            }
        },
        hasLinks: () => transcript.querySelector('a') !== null,
        says: (text) => transcript.textContent.includes(text),
        bubbleIs: (text) => transcript.querySelector('.bubble')?.textContent === text,
        /** Undoes what the test of the watch itself does outside the transcript. */
        forgetSabotage() {
            history.replaceState(null, '', 'index.html');
            document.title = 'Teskal';
            delete Object.prototype.polluted;
            Object.assign(window, { teskal: own.teskal });
            for (const added of document.querySelectorAll('[data-test]')) added.remove();
            seen.length = 0;
        },
        /** Where the last answer's text differs from the first one's; empty when it does not. */
        differs() {
            const answers = [...transcript.querySelectorAll('.answer-text')];
            if (answers.length < 2) return 'there are no two answers';
            const [one, other] = [answers[0], answers.at(-1)].map(undecorated);
            if (one.isEqualNode(other)) return '';
            const [before, after] = [one.innerHTML, other.innerHTML];
            let at = 0;
            while (at < before.length && before[at] === after[at]) at += 1;
            return `${before.slice(at, at + 90)} | ${after.slice(at, at + 90)}`;
        },
    };
})();
