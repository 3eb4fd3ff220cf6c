import type MarkdownIt from 'markdown-it';
import type Token from 'markdown-it/lib/token.mjs';
import { cutClusters } from './clusters';

/** Lines of code per element: what is drawn again, and laid out again, when a long piece of code grows. */
export const CODE_LINES = 32;

/** A block as parsed: with its tokens, and the blocks in it when it is one that grows block by block. */
export interface ParsedBlock {
    kind: string;
    /** All tokens of a leaf, the opening one of a container; none of a piece of code. */
    tokens: Token[];
    /** First line, and the line after the last. */
    map: [number, number];
    children?: ParsedBlock[];
    /** The text of a piece of code. */
    text?: string;
}

/** A block as it is to be shown. */
export interface Block {
    kind: string;
    /** The HTML of a leaf, before sanitising; the start tag of a container. */
    html: string;
    /** The end tag of a container. */
    close: string;
    children?: Block[];
    /** The text of a piece of code. */
    text?: string;
    /** Tokens of a leaf that something defined elsewhere could change. */
    tokens?: Token[];
}

/** Blocks made of blocks. A table's head, its rows and everything else are leaves. */
const CONTAINERS = new Set(['bullet_list', 'ordered_list', 'list_item', 'blockquote', 'footnote', 'table', 'tbody']);

/** The tree that a flat list of tokens describes. */
export function blockTree(tokens: Token[]): ParsedBlock[] {
    const roots: ParsedBlock[] = [];
    const open: ParsedBlock[] = [];
    let siblings = roots;
    let leaf: Token[] = [];
    let depth = 0;
    for (const token of tokens) {
        const kind = token.type.replace(/_(?:open|close)$/, '');
        if (depth === 0 && token.nesting !== 0 && CONTAINERS.has(kind)) {
            if (token.nesting > 0) {
                const children: ParsedBlock[] = [];
                const container = { kind, tokens: [token], map: token.map ?? [0, 0] as [number, number], children };
                siblings.push(container);
                open.push(container);
                siblings = children;
            } else {
                open.pop();
                siblings = open.at(-1)?.children ?? roots;
            }
            continue;
        }
        leaf.push(token);
        depth += token.nesting;
        if (depth > 0) continue;
        siblings.push(leafBlock(kind, leaf));
        leaf = [];
    }
    return roots;
}

function leafBlock(kind: string, tokens: Token[]): ParsedBlock {
    const first = tokens[0]!;
    const map = first.map ?? [0, 0];
    return kind === 'fence' ? { kind, tokens, map, children: piecesOfCode(first) } : { kind, tokens, map };
}

function piecesOfCode(fence: Token): ParsedBlock[] {
    const pieces: ParsedBlock[] = [];
    const code = fence.content;
    for (let at = 0, line = fence.map![0] + 1; at < code.length; line += CODE_LINES) {
        let end = at;
        for (let count = 0; count < CODE_LINES && end < code.length; count += 1) {
            end = code.indexOf('\n', end) + 1 || code.length;
        }
        pieces.push({ kind: 'code', tokens: [], map: [line, line + CODE_LINES], text: code.slice(at, end) });
        at = end;
    }
    return pieces;
}

/** Renders parsed blocks. */
export function renderBlocks(md: MarkdownIt, parsed: ParsedBlock[], env: object): Block[] {
    return parsed.map(({ kind, tokens, children, text }) => {
        if (text !== undefined) {
            return { kind, html: cutClusters(`<span class="lines">${md.utils.escapeHtml(text)}</span>`), close: '', text };
        }
        const html = cutClusters(md.renderer.render(tokens, md.options, env));
        if (!children) {
            const mayRefer = tokens.some(({ type, content }) => type === 'inline' && content.includes('['));
            return mayRefer ? { kind, html, close: '', tokens } : { kind, html, close: '' };
        }
        const close = kind === 'fence' ? '</code></pre>' : `</${tokens[0]!.tag}>`;
        return { kind, html, close, children: renderBlocks(md, children, env) };
    });
}

export function htmlOf({ html, close, children }: Block): string {
    return children ? html + children.map(htmlOf).join('') + close : html;
}

/** Reads the text of a leaf again and returns its HTML with what `env` now defines. */
export function renderAgain(md: MarkdownIt, tokens: Token[], env: object): string {
    const state = new md.core.State('', md, env);
    for (const token of tokens) if (token.type === 'inline') token.children = [];
    state.tokens = [...tokens];
    // Keeps the parser from looking for blocks; it adds an empty text of its own at the end instead.
    state.inlineMode = true;
    md.core.process(state);
    return cutClusters(md.renderer.render(tokens, md.options, env));
}
