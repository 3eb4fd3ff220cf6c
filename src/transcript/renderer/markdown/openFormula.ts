/** Characters. What is longer is more likely a text with a lone mark in it. */
const LONGEST = 1_500;
const LONGEST_IN_DOLLARS = 300;

/** What neither a price nor the name of a variable has. */
const SIGN = /[\\^_=+<>]/;
/** A text comes to such a sign after some words, if ever; a name may have it in it. */
const WORDS = /\p{L}{3}|\p{L}{2}_$/u;
const AMOUNT = /^[-+]?[.,]?\d/;
/** No price is raised, has an index or goes on with a command. */
const FACTOR = /^[-+]?\d[\d.]*\s*(?:\p{L}?[\^\\]|\p{L}_)/u;
/** Words one after another, as no formula has them. */
const PROSE = /(?:^|\s)\p{L}{2,}[,;:]?\s+\p{L}{2,}[,;:]?\s+\p{L}{2,}\s/u;
const GROUPS = /\{[^{}]*(?:\}|$)/g;

/**
 * Whether what follows the opening mark `open` reads as a formula although nothing closes it yet. Once it
 * does, it goes on to do so while it grows into a formula; amounts ("$5 and $6") and names ("$HOME") never do.
 */
export function readsAsFormula(open: string, tex: string): boolean {
    if (tex.trim() === '' || tex.length > (open === '$' ? LONGEST_IN_DOLLARS : LONGEST)) return false;
    if (open !== '$') return open !== '$$' || !tex.startsWith('$');
    if (/^[\s_{^]/.test(tex) || tex.includes('$')) return false;
    if (AMOUNT.test(tex) && !FACTOR.test(tex)) return false;
    const sign = tex.search(SIGN);
    if (sign < 0 || WORDS.test(tex.slice(0, sign + 1))) return false;
    return !PROSE.test(tex.replace(GROUPS, ''));
}
