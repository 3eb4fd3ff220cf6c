import type MarkdownIt from 'markdown-it';
import type StateBlock from 'markdown-it/lib/rules_block/state_block.mjs';
import type StateInline from 'markdown-it/lib/rules_inline/state_inline.mjs';
import { isOpenEnd } from './openEnd';
import { readsAsFormula } from './openFormula';

interface Delimiters {
    open: string;
    close: string;
}

/** What `meta` of a math token says. */
export interface FormulaMeta {
    display: boolean;
    /** Whether the closing mark was found; without it, the formula is still being written, or is text. */
    closed: boolean;
    close: string;
}

const BLOCKS: readonly Delimiters[] = [{ open: '$$', close: '$$' }, { open: '\\[', close: '\\]' }];

/**
 * Math in Markdown: `$…$` and `\(…\)` in a line, `$$…$$` and `\[…\]` on lines of their own or in a line.
 * The tokens are "math_inline" and "math_block"; `meta.display` and `meta.closed` say how to draw them. In a
 * line, only what stands at the open end of a growing text is a formula before it is closed.
 */
export function mathPlugin(md: MarkdownIt): void {
    md.block.ruler.before('fence', 'math_block', mathBlock, {
        alt: ['paragraph', 'reference', 'blockquote', 'list'],
    });
    md.inline.ruler.before('escape', 'math_inline', mathInline);
}

/**
 * A display formula that begins a line. Whether one begins is decided by that line alone, and it ends at
 * its closing mark or at a blank line, whichever comes first: text that arrives later never changes where
 * an earlier block ended.
 */
function mathBlock(state: StateBlock, startLine: number, endLine: number, silent: boolean): boolean {
    if (state.sCount[startLine]! - state.blkIndent >= 4) return false;
    const first = lineText(state, startLine);
    const marks = BLOCKS.find(({ open }) => first.startsWith(open));
    if (!marks) return false;
    const rest = first.slice(marks.open.length).trimEnd();
    const closeInFirst = rest.indexOf(marks.close);
    if (closeInFirst >= 0 && (closeInFirst + marks.close.length !== rest.length || closeInFirst === 0)) {
        return false;
    }
    if (silent) return true;

    let line = startLine + 1;
    let closed = closeInFirst >= 0;
    const lines = [closed ? rest.slice(0, closeInFirst) : rest];
    while (!closed && line < endLine && !state.isEmpty(line) && state.sCount[line]! >= state.blkIndent) {
        const text = lineText(state, line).trimEnd();
        closed = text.endsWith(marks.close);
        lines.push(closed ? text.slice(0, -marks.close.length) : text);
        line += 1;
    }
    const token = state.push('math_block', 'div', 0);
    token.block = true;
    token.content = lines.join('\n').trim();
    token.markup = marks.open;
    token.map = [startLine, line];
    token.meta = { display: true, closed, close: marks.close } satisfies FormulaMeta;
    state.line = line;
    return true;
}

function lineText(state: StateBlock, line: number): string {
    return state.src.slice(state.bMarks[line]! + state.tShift[line]!, state.eMarks[line]!);
}

function mathInline(state: StateInline, silent: boolean): boolean {
    const { src, pos } = state;
    const found = src[pos] === '$' ? dollarMath(src, pos, state.posMax)
        : src[pos] === '\\' ? bracketMath(state)
        : null;
    if (!found) return !silent && openMath(state);
    if (!silent) {
        const close = src.slice(found.end - found.markLength, found.end);
        pushFormula(state, found, { display: found.display, closed: true, close });
    }
    state.pos = found.end;
    return true;
}

function pushFormula(state: StateInline, { tex, markLength }: { tex: string; markLength: number }, meta: FormulaMeta): void {
    const token = state.push('math_inline', 'span', 0);
    token.content = tex;
    token.markup = state.src.slice(state.pos, state.pos + markLength);
    token.meta = meta;
}

/** A formula whose closing mark may yet come. */
function openMath(state: StateInline): boolean {
    const { src, pos, posMax } = state;
    const open = ['$$', '$', '\\(', '\\['].find((mark) => src.startsWith(mark, pos));
    if (!open || posMax < src.length || !isOpenEnd(state)) return false;
    const tex = src.slice(pos + open.length);
    if (!readsAsFormula(open, tex)) return false;
    pushFormula(state, { tex, markLength: open.length }, { display: open === '$$' || open === '\\[', closed: false, close: '' });
    state.pos = posMax;
    return true;
}

interface Found {
    tex: string;
    display: boolean;
    markLength: number;
    end: number;
}

/**
 * Prices must stay prices: a single dollar opens only before a non-space, closes only after a non-space
 * and not before a digit.
 */
function dollarMath(src: string, start: number, max: number): Found | null {
    const display = src.startsWith('$$', start);
    const mark = display ? '$$' : '$';
    const from = start + mark.length;
    if (!display && (from >= max || /\s/.test(src[from]!))) return null;
    let at = src.indexOf(mark, from);
    for (; at >= 0 && at + mark.length <= max; at = src.indexOf(mark, at + 1)) {
        if (isEscaped(src, at)) continue;
        if (at === from) return null;
        const mayClose = display || (!/\s/.test(src[at - 1]!) && !/[0-9]/.test(src[at + 1] ?? ''));
        if (!mayClose) return null;
        const tex = src.slice(from, at).trim();
        return tex ? { tex, display, markLength: mark.length, end: at + mark.length } : null;
    }
    return null;
}

function bracketMath(state: StateInline): Found | null {
    const { src, pos, posMax } = state;
    const display = src[pos + 1] === '[';
    if (!display && src[pos + 1] !== '(') return null;
    const at = nextClose(state, display ? '\\]' : '\\)', pos + 2);
    if (at < 0 || at + 2 > posMax) return null;
    const tex = src.slice(pos + 2, at).trim();
    return tex ? { tex, display, markLength: 2, end: at + 2 } : null;
}

type CloseMark = '\\]' | '\\)';

/** The last search for each closing mark in a text: from where, and what it found. */
const searches = new WeakMap<StateInline, Partial<Record<CloseMark, { from: number; at: number }>>>();

/** `indexOf` that remembers its result, so that thousands of lone opening marks stay cheap. */
function nextClose(state: StateInline, mark: CloseMark, from: number): number {
    const known = searches.get(state) ?? {};
    const last = known[mark];
    if (last && from >= last.from && (last.at < 0 || from <= last.at)) return last.at;
    const at = state.src.indexOf(mark, from);
    searches.set(state, { ...known, [mark]: { from, at } });
    return at;
}

function isEscaped(src: string, at: number): boolean {
    let slashes = 0;
    while (src[at - 1 - slashes] === '\\') slashes += 1;
    return slashes % 2 === 1;
}
