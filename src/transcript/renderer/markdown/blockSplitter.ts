import type MarkdownIt from 'markdown-it';
import type Token from 'markdown-it/lib/token.mjs';
import { AppendedText, normalized } from './appendedText';
import { blockTree, htmlOf, renderAgain, renderBlocks, type Block, type ParsedBlock } from './blockTree';
import { findCheckpoint, startsOfLines } from './checkpoint';
import { Definitions, labelsIn, type Environment } from './definitions';

/** Empty cells in the finished rows of a table, from which on the parser may end it although rows follow. */
const MOST_EMPTY_CELLS = 60_000;

/** An open container, and how many blocks in it will not be replaced. */
export interface Level {
    block: Block;
    fixed: number;
}

/** What an update did to the blocks. */
export interface BlockUpdate {
    /** The containers in which blocks may have changed, outermost first: those from `fixed` on. */
    changed: Level[];
    /** Blocks before those places that something defined since has changed. */
    revised: Block[];
    /**
     * The containers that are open now, outermost first. Blocks before `fixed` are finished, except that in
     * all but the last the block before `fixed` is the next open container.
     */
    open: Level[];
}

/**
 * Splits a growing Markdown text into rendered blocks, parsing only what is still open.
 *
 * Everything before the last checkpoint (see `findCheckpoint`) is finished: it is rendered once more and its
 * text is not looked at again. That holds inside lists, quotes, tables and code as well, so that the cost of
 * an update depends on the last item, row or paragraph alone.
 *
 * The one thing that reaches backwards is a definition, "[label]: address" or "[^label]: note". When those
 * change, finished blocks that name them are rendered again.
 */
export class BlockSplitter {
    private appended = new AppendedText();
    /** Holds the blocks of the outermost level. */
    readonly root: Block = { kind: 'root', html: '', close: '', children: [] };
    private levels: Level[] = [{ block: this.root, fixed: 0 }];
    private context = '';
    private contextLines = 0;
    private tail = '';
    private definitions = new Definitions();
    private users = new Map<string, Set<Block>>();
    private emptyCells = 0;
    private wholeOnly = false;

    constructor(private readonly md: MarkdownIt) {}

    /** Characters that the next update parses again. */
    get openLength(): number {
        return this.tail.length;
    }

    /** Takes the whole text so far, and its end if known. A text that does not continue the last one starts over. */
    update(wholeText: string, complete = false, end?: string): BlockUpdate {
        const appended = this.appended.next(wholeText, end);
        if (appended === null || (complete && this.emptyCells > MOST_EMPTY_CELLS)) {
            return this.startOver(wholeText, complete);
        }
        const changed = this.levels;
        this.tail += appended;
        try {
            const finished = !complete && !this.wholeOnly && appended.includes('\n') ? this.finish() : undefined;
            const env = this.definitions.environment(!complete);
            this.show(this.parse(this.tail, env), env);
            return { changed, revised: this.revise(env, finished), open: this.levels };
        } catch (error) {
            if (!(error instanceof InexactContext)) throw error;
            // Nothing may be lost: a text that cannot be parsed in parts is parsed whole from now on.
            this.wholeOnly = true;
            return this.startOver(wholeText, complete);
        }
    }

    private startOver(wholeText: string, complete: boolean): BlockUpdate {
        this.root.children = [];
        this.levels = [{ block: this.root, fixed: 0 }];
        this.context = '';
        this.contextLines = 0;
        this.tail = normalized(wholeText);
        this.definitions = new Definitions();
        this.users = new Map();
        this.emptyCells = 0;
        const changed = this.levels;
        const finished = complete || this.wholeOnly ? undefined : this.finish();
        const env = this.definitions.environment(!complete);
        this.show(this.parse(this.tail, env), env);
        return { changed, revised: this.revise(env, finished), open: this.levels };
    }

    /** Moves the checkpoint as far as complete lines allow; returns what the finished part defined. */
    private finish(): { env: Environment; blocks: Block[] } | undefined {
        const source = this.context + this.tail.slice(0, this.tail.lastIndexOf('\n') + 1);
        const tokens: Token[] = [];
        this.md.block.parse(source, this.md, this.definitions.environment(), tokens);
        const checkpoint = findCheckpoint(source, blockTree(tokens), this.contextLines);
        if (!checkpoint) return undefined;

        const length = startsOfLines(source)[checkpoint.line]! - this.context.length;
        const env = this.definitions.environment();
        const parsed = this.parse(this.tail.slice(0, length), env);
        const blocks = this.show(parsed, env);
        this.definitions.keep(env);
        this.emptyCells += parsed.reduce((sum, level) => sum + missingCells(level), 0);
        this.levels = openLevels(this.root, checkpoint.depth);
        this.context = checkpoint.context;
        this.contextLines = startsOfLines(checkpoint.context).length - 1;
        this.tail = this.tail.slice(length);
        return { env, blocks };
    }

    /** Parses what follows the checkpoint; returns the blocks that stand in each open container, outermost first. */
    private parse(text: string, env: Environment): ParsedBlock[][] {
        let blocks = blockTree(this.md.parse(this.context + text, env));
        return this.levels.map((_, depth) => {
            const first = blocks.findIndex(({ map }) => map[0] >= this.contextLines);
            const count = first < 0 ? blocks.length : first;
            const here = blocks.slice(count);
            const open = depth < this.levels.length - 1 ? blocks[count - 1] : undefined;
            const inContext = blocks.slice(0, open ? count - 1 : count);
            if ((depth < this.levels.length - 1 && !open?.children)
                || inContext.some(({ map }) => map[1] > this.contextLines)) throw new InexactContext();
            blocks = open?.children ?? [];
            return here;
        });
    }

    private show(parsed: ParsedBlock[][], env: Environment): Block[] {
        return this.levels.flatMap(({ block, fixed }, depth) => {
            const blocks = renderBlocks(this.md, parsed[depth]!, env);
            block.children!.length = fixed;
            for (const shown of blocks) block.children!.push(shown);
            return blocks;
        });
    }

    /** Renders finished blocks again that name something whose definition has changed. */
    private revise(env: Environment, finished: { env: Environment; blocks: Block[] } | undefined): Block[] {
        const changed = this.definitions.changedTo(env, finished?.env);
        const concerned = new Set([...changed].flatMap((label) => [...this.users.get(label) ?? []]));
        // Blocks that were finished just now were rendered without the definitions after them.
        const later = new Set([...Object.keys(env.references), ...Object.keys(env.notes)]);
        for (const { block, labels } of finished ? this.index(finished.blocks) : []) {
            if (labels.some((label) => later.has(label))) concerned.add(block);
        }
        return [...concerned].filter((block) => {
            const html = renderAgain(this.md, block.tokens!, env);
            const differs = html !== block.html;
            block.html = html;
            return differs;
        });
    }

    /** Notes which labels these blocks name. */
    private index(blocks: Block[]): { block: Block; labels: string[] }[] {
        return blocks.flatMap((block) => {
            if (block.children) return this.index(block.children);
            if (!block.tokens) return [];
            const text = block.tokens.map(({ type, content }) => type === 'inline' ? content : '').join('\n');
            const labels = labelsIn(this.md, text);
            for (const label of labels) this.users.set(label, (this.users.get(label) ?? new Set()).add(block));
            return [{ block, labels }];
        });
    }
}

/** A context did not open the blocks that it was made to open. */
class InexactContext extends Error {}

/** The last block of each level, down to `depth`. */
function openLevels(root: Block, depth: number): Level[] {
    const levels = [{ block: root, fixed: root.children!.length }];
    for (let level = 0; level < depth; level += 1) {
        const block = levels.at(-1)!.block.children!.at(-1)!;
        levels.push({ block, fixed: block.children!.length });
    }
    return levels;
}

function missingCells(blocks: ParsedBlock[]): number {
    return blocks.reduce((sum, { kind, tokens, children }) =>
        sum + (children ? missingCells(children) : kind === 'tr' ? tokens[0]!.meta?.missing ?? 0 : 0), 0);
}

/** The whole text in one go: what the blocks of a growing text must come to. */
export function renderWhole(md: MarkdownIt, text: string, complete = true): string {
    const env = new Definitions().environment(!complete);
    return renderBlocks(md, blockTree(md.parse(text, env)), env).map(htmlOf).join('');
}
