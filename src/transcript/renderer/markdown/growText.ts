import { isCaret, lastElement, setText } from './patch';

/** The end tags with which the HTML of a block ends. */
const END_TAGS = /(?:<\/[a-z][a-z0-9]*>)+$/;

/**
 * Appends to the element `node`, drawn from the HTML `before`, the plain text by which `after` is longer,
 * which needs neither parser nor sanitiser. False, and nothing done, when that is not all that differs.
 */
export function growText(node: Element, before: string, after: string): boolean {
    const ends = commonEnd(END_TAGS.exec(before)?.[0] ?? '', END_TAGS.exec(after)?.[0] ?? '');
    if (!ends) return false;
    const start = before.slice(0, -ends.length);
    if (!after.startsWith(start)) return false;
    const added = after.slice(start.length, -ends.length);
    if (/[<&]/.test(added)) return false;
    const tags = ends.slice(2, -1).split('></');
    const place = descend(node, tags.reverse());
    if (!place) return false;
    const last = place.lastChild;
    const [end, caret] = last && isCaret(last) ? [last.previousSibling, last] : [last, null];
    if (end instanceof Text) setText(end, end.data + added);
    else place.insertBefore(document.createTextNode(added), caret);
    return true;
}

/** The end tags that both have last. */
function commonEnd(one: string, other: string): string {
    const shorter = one.length < other.length ? one : other;
    return one.endsWith(shorter) && other.endsWith(shorter) ? shorter : '';
}

/** The element that the innermost of some end tags closes. */
function descend(node: Element, tags: string[]): Element | null {
    let place: Element | null = node;
    for (const [depth, tag] of tags.entries()) {
        if (depth > 0) place = lastElement(place);
        if (place?.localName !== tag) return null;
    }
    return place;
}
