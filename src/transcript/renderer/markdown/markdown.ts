import MarkdownIt from 'markdown-it';
import type Token from 'markdown-it/lib/token.mjs';
import { allowedLink, linkDestination } from './linkPolicy';
import { mathPlugin, type FormulaMeta } from './mathPlugin';
import { containerPlugin } from './containerPlugin';
import { denseTextPlugin } from './denseTextPlugin';
import { directionPlugin } from './directionPlugin';
import { footnotePlugin } from './footnotePlugin';
import { longTextPlugin } from './longTextPlugin';
import { openEndPlugin } from './openEnd';
import { shortRowPlugin } from './shortRowPlugin';
import { taskListPlugin } from './taskListPlugin';

const ALIGNMENT = /^text-align:(left|center|right)$/;

/**
 * The one Markdown dialect of the page: CommonMark with tables, strikethrough, bare links, tasks and
 * math, and without raw HTML. What it renders still goes through the sanitiser.
 */
export function createMarkdown(): MarkdownIt {
    const md = new MarkdownIt({ html: false, linkify: true });
    // Bare names such as "main.rs" or "node.js" are files far more often than hosts.
    md.linkify.set({ fuzzyLink: false, fuzzyEmail: true });
    md.validateLink = (address) => allowedLink(address) !== null;
    md.normalizeLink = (address) => allowedLink(address) ?? '';
    md.use(mathPlugin).use(taskListPlugin).use(footnotePlugin).use(containerPlugin).use(shortRowPlugin).use(denseTextPlugin)
        .use(directionPlugin).use(longTextPlugin).use(openEndPlugin);
    addRenderRules(md);
    return md;
}

function addRenderRules(md: MarkdownIt): void {
    const { rules } = md.renderer;
    const { escapeHtml } = md.utils;

    // No line ends between elements, and paragraphs in every item: whether blank lines separate the items
    // of a list is often known only at its end, and must not change how the first ones look.
    md.renderer.renderToken = (tokens, index) => {
        const token = tokens[index]!;
        return token.nesting < 0 ? `</${token.tag}>` : `<${token.tag}${md.renderer.renderAttrs(token)}>`;
    };
    rules['hardbreak'] = () => '<br>';

    rules['link_open'] = (tokens, index) => {
        const href = String(tokens[index]!.attrGet('href') ?? '');
        // "[text]()" is a link to nowhere.
        if (!href) return '<span>';
        return `<a href="${escapeHtml(href)}" title="${escapeHtml(linkDestination(href))}">`;
    };
    rules['link_close'] = (tokens, index) => {
        // Links do not nest, so the last one opened is the one that ends.
        let open = index - 1;
        while (tokens[open]!.type !== 'link_open') open -= 1;
        return tokens[open]!.attrGet('href') ? '</a>' : '</span>';
    };
    // An image named by a model is never fetched: the request alone could carry what was said.
    rules['image'] = (tokens, index, options, env) => {
        const token = tokens[index]!;
        const href = String(token.attrGet('src') ?? '');
        const host = linkDestination(href);
        const text = escapeHtml(md.renderer.renderInlineAsText(token.children ?? [], options, env) || host);
        // An image inside a link would nest one link in another.
        if (!href || isInsideLink(tokens, index)) return text;
        return `<a class="image-link" href="${escapeHtml(href)}" title="${escapeHtml(host)}">${text}</a>`;
    };
    // The start alone: the code follows in pieces of its own.
    rules['fence'] = (tokens, index) =>
        codeStart(md.utils.unescapeAll(tokens[index]!.info).trim().split(/\s+/)[0] ?? '');
    rules['code_block'] = (tokens, index) => `${codeStart('')}${escapeHtml(tokens[index]!.content)}</code></pre>`;
    rules['math_inline'] = (tokens, index) => formula(tokens[index]!, 'span');
    rules['math_block'] = (tokens, index) => formula(tokens[index]!, 'div');
    for (const cell of ['th_open', 'td_open']) {
        rules[cell] = (tokens, index) => {
            const token = tokens[index]!;
            const align = ALIGNMENT.exec(String(token.attrGet('style') ?? ''))?.[1];
            const direction = token.attrGet('dir') ? ' dir="rtl"' : '';
            return `<${token.tag}${align && align !== 'left' ? ` class="align-${align}"` : ''}${direction}>`;
        };
    }

    function codeStart(language: string): string {
        return `<pre><code data-language="${escapeHtml(language.slice(0, 40))}">`;
    }

    /** The source stands in the element until the formula is drawn over it, and stays if it cannot be. */
    function formula(token: Token, tag: 'span' | 'div'): string {
        const { display, closed, close } = token.meta as FormulaMeta;
        const name = display ? 'math math-display' : 'math';
        const gap = closed || tag === 'span' ? '' : '\n';
        const source = `${token.markup}${gap}${token.content}${closed ? close : ''}`;
        const tex = ` data-${closed ? 'tex' : 'open-tex'}="${escapeHtml(token.content)}"`;
        return `<${tag} class="${name}"${tex}>${escapeHtml(source)}</${tag}>`;
    }
}

function isInsideLink(tokens: Token[], index: number): boolean {
    let depth = 0;
    for (const token of tokens.slice(0, index)) {
        if (token.type === 'link_open') depth += 1;
        if (token.type === 'link_close') depth -= 1;
    }
    return depth > 0;
}
