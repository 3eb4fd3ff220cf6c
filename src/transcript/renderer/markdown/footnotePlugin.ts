import type MarkdownIt from 'markdown-it';
import type StateBlock from 'markdown-it/lib/rules_block/state_block.mjs';
import type StateInline from 'markdown-it/lib/rules_inline/state_inline.mjs';

/** What `env` of a parse says about notes: their numbers by label, in the order of their definitions. */
export interface NoteEnvironment {
    notes?: Record<string, number>;
    noteCount?: number;
}

const DEFINITION = /^\[\^([^\]\s]{1,100})\]:[ \t]*/;
const REFERENCE = /\[\^([^\]\s]{1,100})\]/y;

/**
 * Footnotes: "[^label]" in a text and "[^label]: the note" on a line of its own, at the outermost level. A
 * note goes on over indented lines, like a list item. Notes are numbered in the order of their definitions,
 * so that the numbers of earlier ones hold while a text grows. A reference without a note stays text.
 */
export function footnotePlugin(md: MarkdownIt): void {
    md.block.ruler.before('reference', 'footnote', definition, {
        alt: ['paragraph', 'reference', 'blockquote'],
    });
    md.inline.ruler.before('link', 'footnote_reference', reference);
    md.renderer.rules['footnote_reference'] = (tokens, index) => {
        const number = tokens[index]!.meta.number as number;
        return `<sup class="note-reference" role="link" tabindex="0" aria-label="Note ${number}" `
            + `data-note="${number}">${number}</sup>`;
    };
}

/** The name under which a label is looked up. No label can be the name of a member every object has. */
export function noteKey(label: string): string {
    return `^${label}`;
}

function definition(state: StateBlock, startLine: number, endLine: number, silent: boolean): boolean {
    const [start, columns] = [state.bMarks[startLine]!, state.sCount[startLine]!];
    const outermost = state.level === 0 && state.blkIndent === 0;
    // A definition ends what stands in lists, quotes and notes before it, unless it is indented like them.
    if (!outermost && (!silent || columns >= state.blkIndent)) return false;
    if (columns < 0 || columns >= 4 || (start > 0 && state.src[start - 1] !== '\n')) return false;
    const lineStart = start + state.tShift[startLine]!;
    const match = DEFINITION.exec(state.src.slice(lineStart, Math.min(state.eMarks[startLine]!, lineStart + 200)));
    if (!match) return false;
    if (silent) return true;

    const open = state.push('footnote_open', 'div', 1);
    const map: [number, number] = [startLine, startLine];
    open.map = map;
    open.attrs = [['class', 'note'], ['data-note', String(numberOf(state.env, match[1]!))]];

    const { bMarks, tShift, sCount, blkIndent, parentType } = state;
    const shift = tShift[startLine]!;
    bMarks[startLine] = lineStart + match[0].length;
    tShift[startLine] = 0;
    // What follows the colon begins the note's text, however it is indented.
    sCount[startLine] = 4;
    state.blkIndent = 4;
    state.parentType = 'root';
    state.md.block.tokenize(state, startLine, endLine);
    state.blkIndent = blkIndent;
    state.parentType = parentType;
    bMarks[startLine] = start;
    tShift[startLine] = shift;
    sCount[startLine] = columns;

    map[1] = state.line;
    state.push('footnote_close', 'div', -1);
    return true;
}

function numberOf(env: NoteEnvironment, label: string): number {
    const notes = env.notes ??= {};
    const key = noteKey(label);
    return notes[key] ??= env.noteCount = (env.noteCount ?? 0) + 1;
}

function reference(state: StateInline, silent: boolean): boolean {
    const { src, pos } = state;
    if (src[pos] !== '[' || src[pos + 1] !== '^') return false;
    REFERENCE.lastIndex = pos;
    const match = REFERENCE.exec(src);
    const end = pos + (match?.[0].length ?? 0);
    const number = match && end <= state.posMax && (state.env as NoteEnvironment).notes?.[noteKey(match[1]!)];
    if (!number) return false;
    if (!silent) state.push('footnote_reference', 'sup', 0).meta = { number };
    state.pos = end;
    return true;
}
