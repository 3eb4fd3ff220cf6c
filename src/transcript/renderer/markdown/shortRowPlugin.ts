import type MarkdownIt from 'markdown-it';
import type Token from 'markdown-it/lib/token.mjs';

/**
 * Takes the empty cells at the end of rows away again that the parser fills short rows with: two kilobytes
 * of text could come to sixty thousand of them. `meta.missing` of a row says how many there were.
 */
export function shortRowPlugin(md: MarkdownIt): void {
    md.core.ruler.after('block', 'short_rows', (state) => {
        if (!state.tokens.some(({ type }) => type === 'tbody_open')) return;
        const kept: Token[] = [];
        let row: Token | undefined;
        let first = 0;
        for (const token of state.tokens) {
            if (token.type === 'tr_open') {
                row = token;
                first = kept.length + 1;
            } else if (token.type === 'tr_close' && row) {
                const before = kept.length;
                while (kept.length > first + 3 && kept.at(-1)!.type === 'td_close' && kept.at(-2)!.content === '') kept.length -= 3;
                row.meta = { missing: (before - kept.length) / 3 };
            }
            kept.push(token);
        }
        state.tokens = kept;
    });
}
