import type MarkdownIt from 'markdown-it';
import type Token from 'markdown-it/lib/token.mjs';

const MARK = /^\[([ xX])\][ \t]+(?=\S)/;

/** List items that begin with "[ ]" or "[x]" become tasks: the mark turns into a token "task_mark". */
export function taskListPlugin(md: MarkdownIt): void {
    md.core.ruler.after('inline', 'task_list', (state) => {
        state.tokens.forEach((token, index) => {
            const item = state.tokens[index - 2];
            if (token.type !== 'inline' || item?.type !== 'list_item_open') return;
            const text = firstText(token);
            const match = text && MARK.exec(text.content);
            if (!text || !match) return;
            text.content = text.content.slice(match[0].length);
            const mark = new state.Token('task_mark', 'span', 0);
            mark.meta = { done: match[1] !== ' ' };
            token.children!.unshift(mark);
            item.attrJoin('class', 'task');
        });
    });
    md.renderer.rules['task_mark'] = (tokens, index) => tokens[index]!.meta.done
        ? '<span class="task-mark task-done" role="img" aria-label="Done"></span>'
        : '<span class="task-mark" role="img" aria-label="To do"></span>';
}

function firstText(inline: Token): Token | undefined {
    const first = inline.children?.[0];
    return first?.type === 'text' ? first : undefined;
}
