const START_TAG = /^<([a-z][a-z0-9]*)[^>]*>/;
const TAG = /<(\/?)([a-z][a-z0-9]*)[^>]*>/g;
const VOID = new Set(['br', 'hr']);

/** The end of a block that is to be drawn again. */
export interface ChangedEnd {
    /** How many nodes of the block stay. */
    from: number;
    /** The block's HTML without those. */
    html: string;
}

/**
 * Where the block drawn from the HTML `before` in `node` begins to differ from `after`, so that what stands
 * before that is neither sanitised nor compared again. Null when nothing in the block can stay.
 */
export function changedEnd(node: Element, before: string, after: string): ChangedEnd | null {
    const start = START_TAG.exec(after)?.[0];
    if (!start || !before.startsWith(start)) return null;
    const same = commonLength(before, after);
    let [depth, count, at, name] = [0, 0, start.length, ''];
    for (const { index, 0: tag, 1: closes, 2: tagName = '' } of tagsFrom(before, start.length)) {
        if (index + tag.length > same || (depth === 0 && closes)) break;
        if (depth === 0 && index > at) count += 1;
        if (closes) depth -= 1;
        else if (!VOID.has(tagName)) depth += 1;
        if (depth > 0) continue;
        count += 1;
        at = index + tag.length;
        name = tagName;
    }
    const last = node.childNodes[count - 1];
    if (!(last instanceof Element) || last.localName !== name) return null;
    return { from: count, html: start + after.slice(at) };
}

function* tagsFrom(html: string, from: number): Iterable<RegExpExecArray> {
    TAG.lastIndex = from;
    for (let found = TAG.exec(html); found; found = TAG.exec(html)) yield found;
}

function commonLength(one: string, other: string): number {
    let length = 0;
    while (length < one.length && one.charCodeAt(length) === other.charCodeAt(length)) length += 1;
    return length;
}
