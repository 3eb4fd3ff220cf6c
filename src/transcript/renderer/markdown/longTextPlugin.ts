import type MarkdownIt from 'markdown-it';
import type StateCore from 'markdown-it/lib/rules_core/state_core.mjs';
import type Token from 'markdown-it/lib/token.mjs';
import { endOfPart, LONG_TEXT, PART } from './textParts';

/** Characters before the end of a part within which a line end of the source ends it. */
const CLOSE = 300;
/** Characters that a formula counts for besides its own: it is drawn with a score of boxes. */
const FORMULA = 20;

/**
 * Divides paragraphs longer than anybody writes into parts, each with lines of its own. Those outside the
 * window cost no layout, and a paragraph that grows is laid out again from its last part on alone.
 */
export function longTextPlugin(md: MarkdownIt): void {
    md.core.ruler.push('long_text', (state) => {
        state.tokens.forEach((token, index) => {
            const isParagraph = token.type === 'inline' && state.tokens[index - 1]?.type === 'paragraph_open';
            if (isParagraph && token.content.length > LONG_TEXT) token.children = inParts(state, token.children ?? []);
        });
    });
}

function inParts(state: StateCore, tokens: Token[]): Token[] {
    const parts: Token[] = [];
    let length = 0;
    let depth = 0;
    const mark = (type: string, nesting: 1 | -1): void => {
        const token = new state.Token(type, 'span', nesting);
        if (nesting > 0) token.attrSet('class', 'part');
        parts.push(token);
    };
    const endPart = (): void => {
        mark('part_close', -1);
        mark('part_open', 1);
        length = 0;
    };
    mark('part_open', 1);
    for (const token of tokens) {
        const { type } = token;
        if (depth === 0 && (type === 'text' || type === 'dense_text')) {
            let rest = token.content;
            while (length + rest.length > PART) {
                const end = endOfPart(rest, Math.max(PART - length, 1));
                parts.push(textToken(state, type, rest.slice(0, end)));
                rest = rest.slice(end);
                endPart();
            }
            parts.push(textToken(state, type, rest));
            length += rest.length;
            continue;
        }
        parts.push(token);
        depth += token.nesting;
        length += token.content.length + (type === 'math_inline' ? FORMULA : 1);
        if (depth === 0 && type.endsWith('break') && length > PART - CLOSE) endPart();
    }
    mark('part_close', -1);
    return parts;
}

function textToken(state: StateCore, type: string, content: string): Token {
    const token = new state.Token(type, '', 0);
    token.content = content;
    return token;
}
