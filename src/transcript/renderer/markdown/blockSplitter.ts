import type MarkdownIt from 'markdown-it';
import type Token from 'markdown-it/lib/token.mjs';

/** One top-level block of a Markdown text, rendered. */
export interface Block {
    /** HTML as the renderer made it, before sanitising. */
    html: string;
    /** Whether a link reference definition elsewhere could change it. */
    mayReference: boolean;
}

/** What an update did to the list of blocks. */
export interface BlockUpdate {
    /** Blocks from this index on are new or may have changed; those before it are as they were. */
    from: number;
    /** The blocks that now stand from `from` on. */
    blocks: Block[];
    /** Blocks before `from` that a link reference definition changed. */
    revised: { index: number; block: Block }[];
    /** This many blocks, counted from the first, can not change any more except by such a definition. */
    finished: number;
}

type References = Record<string, { href: string; title: string }>;

interface FinishedBlock {
    source: string;
    block: Block;
}

/**
 * Splits a growing Markdown text into rendered top-level blocks, parsing only what is still open.
 *
 * Markdown is read line by line, and a line can only extend the last top-level block. So once a block has
 * begun after another one, on complete lines, everything before it is finished: it is rendered once more
 * and its text is not looked at again. The text from the last such beginning on is the tail.
 *
 * The one thing that reaches backwards is a link reference definition, "[label]: address". When the set of
 * definitions changes, finished blocks that could use one are rendered again.
 */
export class BlockSplitter {
    private text = '';
    private tailStart = 0;
    private checkedTo = 0;
    private finished: FinishedBlock[] = [];
    private references: References = {};
    private shownReferences: References = {};

    constructor(private readonly md: MarkdownIt) {}

    /** Takes the whole text so far. A text that does not continue the last one starts over. */
    update(wholeText: string): BlockUpdate {
        const text = normalized(wholeText);
        if (!text.startsWith(this.text)) this.reset();
        this.text = text;

        const from = this.finished.length;
        this.finishClosedBlocks();
        const tail = this.parse(text.slice(this.tailStart), this.references);
        const revised = this.reviseReferences(tail.references, from);
        return {
            from,
            blocks: [...this.finished.slice(from), ...tail.blocks].map(({ block }) => block),
            revised,
            finished: this.finished.length,
        };
    }

    private reset(): void {
        this.text = '';
        this.tailStart = 0;
        this.checkedTo = 0;
        this.finished = [];
        this.references = {};
        this.shownReferences = {};
    }

    private finishClosedBlocks(): void {
        const completeTo = this.text.lastIndexOf('\n') + 1;
        if (completeTo <= this.checkedTo) return;
        this.checkedTo = completeTo;

        const complete = this.text.slice(this.tailStart, completeTo);
        const length = closedLength(this.md, complete);
        if (length === 0) return;
        const closed = this.parse(complete.slice(0, length), this.references);
        this.references = closed.references;
        this.finished.push(...closed.blocks);
        this.tailStart += length;
    }

    private parse(source: string, known: References): { blocks: FinishedBlock[]; references: References } {
        const env = { references: { ...known } };
        const tokens = this.md.parse(source, env);
        const lines = source.split('\n');
        const blocks = topLevelGroups(tokens).map((group) => {
            const [start, end] = group[0]!.map ?? [0, 0];
            const blockSource = lines.slice(start, end).join('\n');
            return { source: blockSource, block: this.render(group, env, blockSource) };
        });
        return { blocks, references: env.references };
    }

    private render(group: Token[], env: object, source: string): Block {
        return {
            html: this.md.renderer.render(group, this.md.options, env),
            mayReference: source.includes('['),
        };
    }

    /**
     * Renders finished blocks again that a changed set of definitions may have changed. Blocks that were
     * finished just now need it too: they were rendered without the definitions in the tail.
     */
    private reviseReferences(references: References, before: number): BlockUpdate['revised'] {
        if (sameReferences(references, this.shownReferences)) return [];
        this.shownReferences = references;
        const revised: BlockUpdate['revised'] = [];
        this.finished.forEach((finished, index) => {
            if (!finished.block.mayReference) return;
            const [again] = this.parse(finished.source, references).blocks;
            if (!again || again.block.html === finished.block.html) return;
            finished.block = again.block;
            if (index < before) revised.push({ index, block: again.block });
        });
        return revised;
    }
}

/** The whole text in one go: what the blocks of a growing text must come to. */
export function renderWhole(md: MarkdownIt, text: string): string {
    const env = {};
    return topLevelGroups(md.parse(text, env))
        .map((group) => md.renderer.render(group, md.options, env))
        .join('');
}

/**
 * How much of a text made of complete lines belongs to blocks that nothing after it can change: all up to
 * the beginning of its last block. That block must follow a blank line or another block directly. If
 * neither holds, a link reference definition stands before it, which leaves no token, and whose title may
 * yet come to include the lines after it.
 */
function closedLength(md: MarkdownIt, complete: string): number {
    const tokens: Token[] = [];
    md.block.parse(complete, md, { references: {} }, tokens);
    const groups = topLevelGroups(tokens);
    const lineStarts = startsOfLines(complete);
    for (let index = groups.length - 1; index > 0; index -= 1) {
        const start = groups[index]![0]!.map?.[0];
        const previousEnd = groups[index - 1]![0]!.map?.[1];
        if (start === undefined || previousEnd === undefined) continue;
        const lineBefore = complete.slice(lineStarts[start - 1], lineStarts[start]);
        if (previousEnd >= start || lineBefore.trim() === '') return lineStarts[start]!;
    }
    return 0;
}

function startsOfLines(text: string): number[] {
    const starts = [0];
    for (let at = text.indexOf('\n'); at >= 0; at = text.indexOf('\n', at + 1)) starts.push(at + 1);
    return starts;
}

function topLevelGroups(tokens: Token[]): Token[][] {
    const groups: Token[][] = [];
    let group: Token[] = [];
    let depth = 0;
    for (const token of tokens) {
        group.push(token);
        depth += token.nesting;
        if (depth === 0) {
            groups.push(group);
            group = [];
        }
    }
    return groups;
}

function sameReferences(a: References, b: References): boolean {
    const keys = Object.keys(a);
    return keys.length === Object.keys(b).length
        && keys.every((key) => Object.hasOwn(b, key)
            && a[key]!.href === b[key]!.href && a[key]!.title === b[key]!.title);
}

/** Line ends and null characters as the parser would make them, so that offsets hold. */
function normalized(text: string): string {
    return /[\r\0]/.test(text) ? text.replace(/\r\n?/g, '\n').replace(/\0/g, '\uFFFD') : text;
}
