import type MarkdownIt from 'markdown-it';
import type Token from 'markdown-it/lib/token.mjs';

/** What decides the direction of a text: its first letter, or a mark that stands for one. */
const STRONG = /[\p{L}\u200e\u200f]/u;
const RIGHT_TO_LEFT = /[\u0590-\u08ff\u200f\ufb1d-\ufdff\ufe70-\ufefc\u{10800}-\u{10fff}\u{1e800}-\u{1efff}]/u;
/** Code and formulas run from left to right by themselves and say nothing about the text around them. */
const TEXTS = new Set(['text', 'dense_text', 'image']);

/**
 * Marks paragraphs, headings and cells that run from right to left. The style sheet could leave that to the
 * engine, which then lays all texts out several times slower.
 */
export function directionPlugin(md: MarkdownIt): void {
    md.core.ruler.push('direction', ({ tokens }) => {
        tokens.forEach((token, index) => {
            const open = tokens[index - 1];
            if (token.type === 'inline' && open) setDirection(open, runsRightToLeft(token.children ?? []));
        });
    });
}

function runsRightToLeft(children: Token[]): boolean {
    for (const { type, content } of children) {
        const strong = TEXTS.has(type) ? STRONG.exec(content) : null;
        if (strong) return RIGHT_TO_LEFT.test(strong[0]);
    }
    return false;
}

/** A block may be read again, with other definitions. */
function setDirection(open: Token, isRightToLeft: boolean): void {
    if (isRightToLeft) open.attrSet('dir', 'rtl');
    else if (open.attrGet('dir')) open.attrs = open.attrs!.filter(([name]) => name !== 'dir');
}
