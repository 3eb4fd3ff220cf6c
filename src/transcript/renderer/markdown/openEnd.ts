import type MarkdownIt from 'markdown-it';
import type StateInline from 'markdown-it/lib/rules_inline/state_inline.mjs';
import type Token from 'markdown-it/lib/token.mjs';

/** Characters at the end of a text that say whether it is still open. */
const LOOKED_AT = 200;
const COMPARED = 50;
const LINE_END = /\n\s*$/;
const BLANK_LINE = /\n[ \t>]*\n\s*$/;

/** What `env` of a parse says about the end of the text. */
export interface GrowthEnvironment {
    /** Whether more may follow. */
    grows?: boolean;
    /** The parts of the words at the end, if those may go on. */
    openWords?: Token[];
}

/** Finds the words to which the next character of a growing text may belong. */
export function openEndPlugin(md: MarkdownIt): void {
    md.core.ruler.before('inline', 'open_end', ({ src, tokens, env }) => {
        const growth = env as GrowthEnvironment;
        delete growth.openWords;
        const words = growth.grows ? lastWords(src, tokens) : undefined;
        if (words) growth.openWords = words.children!;
    });
}

/** Whether the words that are being parsed may go on, so that what is open in them may still be closed. */
export function isOpenEnd({ env, tokens }: StateInline): boolean {
    return (env as GrowthEnvironment).openWords === tokens;
}

/** The last words, when nothing but ends of blocks follows and their own block may go on. */
function lastWords(src: string, tokens: Token[]): Token | undefined {
    let last = tokens.length - 1;
    while (last >= 0 && tokens[last]!.nesting < 0) last -= 1;
    const words = tokens[last];
    if (words?.type !== 'inline') return undefined;
    const ended = tokens[last - 1]!.type === 'paragraph_open' ? BLANK_LINE : LINE_END;
    // A cell also ends at its bar, and then the text ends otherwise than the words in it do.
    const end = endOf(words.content).slice(-COMPARED);
    return end && !ended.test(src.slice(-LOOKED_AT)) && endOf(src).endsWith(end) ? words : undefined;
}

/** Without the marks of quotes, which may stand there before the words of the next line do. */
function endOf(text: string): string {
    return text.slice(-LOOKED_AT).replace(/[\s>]+$/, '').replace(/^[^]*\n/, '');
}
