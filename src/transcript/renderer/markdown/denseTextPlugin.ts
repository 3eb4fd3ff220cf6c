import type MarkdownIt from 'markdown-it';
import type StateInline from 'markdown-it/lib/rules_inline/state_inline.mjs';

/** Marks in one paragraph, heading or cell beyond which it is shown as it is: nobody writes so many. */
const MOST_MARKS = 4_000;

const MARKS = new Set([...'*_~[]!$\\`<&'].map((mark) => mark.charCodeAt(0)));

/** Bounds what a text made of nothing but marks can cost, in parsing and in elements. */
export function denseTextPlugin(md: MarkdownIt): void {
    const { inline } = md;
    const parse = inline.parse.bind(inline);
    inline.parse = (text, parser, env, tokens) => {
        if (text.length <= MOST_MARKS || !isDense(text)) {
            parse(text, parser, env, tokens);
            return;
        }
        const state: StateInline = new inline.State(text, parser, env, tokens);
        state.push('dense_text', '', 0).content = text;
    };
    // Not a "text", in which bare links would be looked for.
    md.renderer.rules['dense_text'] = (tokens, index) => md.utils.escapeHtml(tokens[index]!.content);
}

function isDense(text: string): boolean {
    let marks = 0;
    for (let at = 0; at < text.length; at += 1) if (MARKS.has(text.charCodeAt(at))) marks += 1;
    return marks > MOST_MARKS;
}
