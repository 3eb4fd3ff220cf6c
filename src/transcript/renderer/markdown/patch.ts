/**
 * Makes the element `old` equal `now` and touches only what differs: nodes that stay keep what hangs on
 * them, such as a selection or a drawn formula. `now` is used up. False when they are no match at all.
 */
export function patch(old: Element, now: Element): boolean {
    if (old.tagName !== now.tagName) return false;
    if (isFormula(old) || isFormula(now)) return patchFormula(old, now);
    patchAttributes(old, now);
    let at = old.firstChild;
    for (const next of [...now.childNodes]) {
        if (!at || isCaret(at)) {
            old.insertBefore(next, at);
            continue;
        }
        const following: ChildNode | null = at.nextSibling;
        if (!patchNode(at, next)) old.replaceChild(next, at);
        at = following;
    }
    while (at) {
        const following = at.nextSibling;
        if (!isCaret(at)) at.remove();
        at = following;
    }
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

function patchNode(old: Node, now: Node): boolean {
    if (old instanceof Text && now instanceof Text) {
        setText(old, now.data);
        return true;
    }
    return old instanceof Element && now instanceof Element && patch(old, now);
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

/** What is drawn in a formula stays while its source does, and while it is still being written. */
function patchFormula(old: Element, now: Element): boolean {
    if (old.className !== now.className) return false;
    const growing = now.hasAttribute('data-open-tex');
    // A source that the sanitiser does not let through as an attribute says nothing.
    if (!growing) return now.hasAttribute('data-tex') && old.getAttribute('data-tex') === now.getAttribute('data-tex');
    const drawn = old.querySelector('.katex') !== null;
    const continues = now.getAttribute('data-open-tex')!.startsWith(old.getAttribute('data-open-tex') ?? '');
    if (drawn && !continues) return false;
    patchAttributes(old, now);
    if (!drawn) old.replaceChildren(...now.childNodes);
    return true;
}
