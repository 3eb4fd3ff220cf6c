import type MarkdownIt from 'markdown-it';
import type StateBlock from 'markdown-it/lib/rules_block/state_block.mjs';

/** Levels of quotes, lists and items. What is nested deeper is shown as text: nothing is lost, nothing is slow. */
const DEEPEST = 40;

/** What `meta` of a token that opens a container says about the line it begins on. */
export interface ContainerMeta {
    /** Where in the source the container's own text begins. */
    contentStart: number;
    /** Whether that text is indented further than the container asks for. */
    indented: boolean;
}

const CONTAINERS = new Set(['blockquote_open', 'list_item_open', 'footnote_open']);

/** Bounds how deep containers nest, and notes on their tokens where their text begins. */
export function containerPlugin(md: MarkdownIt): void {
    const { block } = md;
    for (const name of ['blockquote', 'list']) bound(md, name);

    const tokenize = block.tokenize.bind(block);
    block.tokenize = (state: StateBlock, startLine: number, endLine: number) => {
        const open = state.tokens.at(-1);
        if (open && CONTAINERS.has(open.type)) {
            open.meta = {
                contentStart: state.bMarks[startLine]! + state.tShift[startLine]!,
                indented: state.sCount[startLine] !== state.blkIndent,
            } satisfies ContainerMeta;
        }
        tokenize(state, startLine, endLine);
    };
}

type BlockRule = (state: StateBlock, startLine: number, endLine: number, silent: boolean) => boolean;

function bound(md: MarkdownIt, name: string): void {
    // The ruler replaces a rule together with the names of those it may end, so these are carried over.
    const rules = (md.block.ruler as unknown as { __rules__: { name: string; fn: BlockRule; alt: string[] }[] }).__rules__;
    const rule = rules.find((found) => found.name === name)!;
    const { fn } = rule;
    md.block.ruler.at(name, (state, startLine, endLine, silent) =>
        state.level < DEEPEST && fn(state, startLine, endLine, silent), { alt: rule.alt });
}
