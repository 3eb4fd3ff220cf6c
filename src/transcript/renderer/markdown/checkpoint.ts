import type { ParsedBlock } from './blockTree';
import type { ContainerMeta } from './containerPlugin';

/**
 * A place in a text from which on it can be parsed alone: the beginning of a block before which everything
 * is finished. Blocks begun before it and still open are named from the outermost inwards; `context` is a
 * text that opens them again, with a heading or a row in each that is not to be shown.
 */
export interface Checkpoint {
    /** Line of the source at which it stands. */
    line: number;
    /** How many blocks are open there. */
    depth: number;
    context: string;
}

/**
 * The last place in `source` from which its rest can be parsed alone. `source` is made of complete lines
 * and begins with `contextLines` lines of context of an earlier checkpoint.
 *
 * A text is read line by line, and a line can only extend the last block, and in it the last block of each
 * container. So once a block has begun after another one, that other one is finished.
 */
export function findCheckpoint(source: string, roots: ParsedBlock[], contextLines: number): Checkpoint | null {
    const lines = startsOfLines(source);
    const path: ParsedBlock[] = [];
    let found: Checkpoint | null = null;
    for (let children = roots; ;) {
        const index = lastSafe(source, lines, children, path.at(-1), contextLines);
        const block = children[index];
        // A table without its first row could not be opened again.
        if (block && index > 0 && block.map[0] > contextLines && path.at(-1)?.kind !== 'table') {
            const context = contextFor(source, lines, path, children[index - 1]!);
            found = { line: block.map[0], depth: path.length, context };
        }
        const last = children.at(-1);
        if (!last?.children || (index !== children.length - 1 && last.map[0] >= contextLines)) return found;
        path.push(last);
        children = last.children;
    }
}

/**
 * The last of some blocks whose beginning nothing can change any more: it follows a blank line or another
 * block directly. If neither holds, a link reference definition stands before it, which leaves no token,
 * and whose title may yet come to include the lines after it.
 */
function lastSafe(
    source: string, lines: number[], blocks: ParsedBlock[], parent: ParsedBlock | undefined, contextLines: number,
): number {
    for (let index = blocks.length - 1; index >= 0; index -= 1) {
        const start = blocks[index]!.map[0];
        const before = blocks[index - 1]?.map[1] ?? parent?.map[0] ?? 0;
        const lineBefore = start > 0 ? source.slice(lines[start - 1], lines[start]) : '';
        if (before >= start || start <= contextLines || parent?.kind === 'table' || /^[\s>]*$/.test(lineBefore)) return index;
    }
    return -1;
}

/** The text that opens these blocks again, in the last of which `previous` is finished. */
function contextFor(source: string, lines: number[], path: ParsedBlock[], previous: ParsedBlock): string {
    const line = (at: number) => source.slice(lines[at], lines[at + 1]);
    const context = new Map<number, string>();
    for (const block of path) {
        const [start] = block.map;
        if (block.kind === 'fence') {
            context.set(start, line(start));
        } else if (block.kind === 'table') {
            // Head, alignment, and the first row, without which there is no body to go on with. What stands in
            // the cells is parsed with every update, and is not shown.
            const blank = path[0] === block ? blankRow(block) : undefined;
            context.set(start, blank ?? line(start));
            context.set(start + 1, line(start + 1));
            context.set(start + 2, blank ?? line(start + 2));
        } else if (block.kind.endsWith('_list')) {
            // Where the next item may begin depends on the indentation of the one before it. An empty item
            // that a blank line ends stands for itself.
            if (block !== path.at(-1)) continue;
            const at = previous.map[0];
            context.set(at, previous.tokens[0]!.meta ? `${markers(source, lines, previous)}# x\n` : line(at) + line(at + 1));
        } else if (block.kind !== 'tbody') {
            context.set(start, `${markers(source, lines, block)}# x\n`);
        }
    }
    return [...context.values()].join('');
}

/** A row of as many cells as a table has columns. */
function blankRow({ children }: ParsedBlock): string {
    const cells = children![0]!.tokens.filter(({ type }) => type === 'th_open');
    return `${'| '.repeat(cells.length)}|\n`;
}

/** What stands on the line on which a container begins, up to its own text. */
function markers(source: string, lines: number[], { kind, map, tokens }: ParsedBlock): string {
    const { contentStart, indented } = tokens[0]!.meta as ContainerMeta;
    const marks = source.slice(lines[map[0]], contentStart);
    const trimmed = marks.trimEnd();
    const exact = kind === 'list_item' && !indented && trimmed !== marks;
    return exact ? marks : `${trimmed} `;
}

export function startsOfLines(text: string): number[] {
    const starts = [0];
    for (let at = text.indexOf('\n'); at >= 0; at = text.indexOf('\n', at + 1)) starts.push(at + 1);
    return starts;
}
