/**
 * Makes the element `old` equal `now` and touches only what differs: nodes that stay keep what hangs on
 * them, such as a selection or a drawn formula. `now` is used up. False when they are no match at all.
 *
 * @param from how many nodes of `old` stay as they are; `now` holds what follows them
 */
export function patch(old: Element, now: Element, from = 0): boolean {
    if (old.tagName !== now.tagName) return false;
    if (isFormula(old) || isFormula(now)) return patchFormula(old, now);
    patchAttributes(old, now);
    let at: ChildNode | null = old.childNodes[from] ?? null;
    const texts: [Text, string][] = [];
    for (const next of [...now.childNodes]) {
        if (!at || isCaret(at)) {
            old.insertBefore(next, at);
            continue;
        }
        const following: ChildNode | null = at.nextSibling;
        if (at instanceof Text && next instanceof Text) texts.push([at, next.data]);
        else if (!(at instanceof Element && next instanceof Element && patch(at, next))) old.replaceChild(next, at);
        at = following;
    }
    while (at) {
        const following = at.nextSibling;
        if (!isCaret(at)) at.remove();
        at = following;
    }
    // Last: in a paragraph that has to be laid out anyway, the engine does not measure each of them by itself.
    for (const [text, data] of texts) setText(text, data);
    return true;
}

/** The mark behind the last character is no part of the text. It stays where it is, because to move it costs layout. */
export function isCaret(node: Node): boolean {
    return node instanceof Element && node.classList.contains('caret');
}

/** Changes only the characters that differ, so that a selection in those before them stays. */
export function setText(text: Text, data: string): void {
    const { data: old } = text;
    if (data === old) return;
    let same = 0;
    if (data.startsWith(old)) same = old.length;
    else while (same < old.length && old[same] === data[same]) same += 1;
    if (same === old.length) text.appendData(data.slice(same));
    else text.replaceData(same, old.length - same, data.slice(same));
}

function patchAttributes(old: Element, now: Element): void {
    for (const { name, value } of now.attributes) {
        if (old.getAttribute(name) !== value) old.setAttribute(name, value);
    }
    for (const name of old.getAttributeNames()) if (!now.hasAttribute(name)) old.removeAttribute(name);
}

/** The last element of the text in `node`. */
export function lastElement(node: Element): Element | null {
    const last = node.lastElementChild;
    return last && isCaret(last) ? last.previousElementSibling : last;
}

function isFormula(element: Element): boolean {
    return element.classList.contains('math');
}

/** What formulas say that are drawn from an earlier version of their source. */
const hiddenSources = new WeakMap<Element, string>();

/** The source of a formula that shows an older one, to be shown instead if it can not be drawn. */
export function hiddenSource(formula: Element): string | undefined {
    return hiddenSources.get(formula);
}

/** What is drawn in a formula stays while its source does, and while it is being written, until it is drawn anew. */
function patchFormula(old: Element, now: Element): boolean {
    if (old.className !== now.className) return false;
    // A source that the sanitiser does not let through as an attribute says nothing.
    const tex = now.getAttribute('data-open-tex') ?? now.getAttribute('data-tex');
    if (tex === null) return false;
    const open = old.getAttribute('data-open-tex');
    if (open === null) return old.getAttribute('data-tex') === now.getAttribute('data-tex');
    const drawn = old.querySelector('.katex') !== null;
    if (drawn && !tex.trim().startsWith(open.trim())) return false;
    patchAttributes(old, now);
    if (drawn) hiddenSources.set(old, now.textContent ?? '');
    else old.replaceChildren(...now.childNodes);
    return true;
}
