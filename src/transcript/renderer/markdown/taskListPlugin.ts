import type MarkdownIt from 'markdown-it';

const MARK = /^\[([ xX])\][ \t]+(?=\S)/;

/**
 * List items that begin with "[ ]" or "[x]" become tasks: the mark turns into a token "task_mark". Whether
 * an item is one is settled before its text is read, so that nothing defined elsewhere can change it.
 */
export function taskListPlugin(md: MarkdownIt): void {
    md.core.ruler.after('block', 'task_list', (state) => {
        state.tokens.forEach((token, index) => {
            const item = state.tokens[index - 2];
            if (token.type !== 'inline' || item?.type !== 'list_item_open') return;
            const match = MARK.exec(token.content);
            if (!match) return;
            token.content = token.content.slice(match[0].length);
            token.meta = { task: match[1] === ' ' ? 'open' : 'done' };
            item.attrJoin('class', 'task');
        });
    });
    md.core.ruler.after('inline', 'task_mark', (state) => {
        for (const token of state.tokens) {
            if (!token.meta?.task || !token.children) continue;
            const mark = new state.Token('task_mark', 'span', 0);
            mark.meta = { done: token.meta.task === 'done' };
            token.children.unshift(mark);
        }
    });
    md.renderer.rules['task_mark'] = (tokens, index) => tokens[index]!.meta.done
        ? '<span class="task-mark task-done" role="img" aria-label="Done"></span>'
        : '<span class="task-mark" role="img" aria-label="To do"></span>';
}
