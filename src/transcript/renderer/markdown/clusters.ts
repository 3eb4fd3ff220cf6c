/** Marks, tones and joined signs in a row, from which on a text engine is slow to find where a sign ends. */
const LONGEST = 16;

const JOINED = '(?:[\\p{M}\\p{Emoji_Modifier}\\u200c]|\\u200d[^<>&]?)';
const LONG = new RegExp(`${JOINED}{${LONGEST}}`, 'u');
const TAG_OR_LONG = new RegExp(`<[^>]*>|${JOINED}{${LONGEST}}`, 'gu');
const EVERY_LONG = new RegExp(`${JOINED}{${LONGEST}}`, 'gu');

/** Ends a sign without being one: the text stays as it is. */
const CUT = '<span class="cut"></span>';

/** Whether a text piles up more on one letter than any script or picture does. */
export function hasLongCluster(text: string): boolean {
    return LONG.test(text);
}

/** HTML whose piles are cut into bearable ones. */
export function cutClusters(html: string): string {
    if (!hasLongCluster(html)) return html;
    return html.replace(TAG_OR_LONG, (match) => match.startsWith('<') ? match : match + CUT);
}

/** A text that is shown as it is, as nodes; its piles are cut. */
export function cutText(text: string): Node[] {
    const nodes: Node[] = [];
    let from = 0;
    for (const { 0: match, index = 0 } of text.matchAll(EVERY_LONG)) {
        const end = index + match.length;
        const cut = document.createElement('span');
        cut.className = 'cut';
        nodes.push(document.createTextNode(text.slice(from, end)), cut);
        from = end;
    }
    nodes.push(document.createTextNode(text.slice(from)));
    return nodes;
}
