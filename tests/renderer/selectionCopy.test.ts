import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { answer, openPage, user } from './page';

const page = await openPage();
const { copyOf } = await import('../../src/transcript/renderer/page/selectionCopy');

/** Text position of `wanted` in the conversation, before or behind it. */
function position(wanted: string, behind: boolean): [Text, number] {
    const walker = page.document.createTreeWalker(page.find('#transcript'), page.window.NodeFilter.SHOW_TEXT);
    while (walker.nextNode()) {
        const text = walker.currentNode as Text;
        const at = text.data.indexOf(wanted);
        if (at >= 0) return [text, behind ? at + wanted.length : at];
    }
    throw new Error(`no ${wanted}`);
}

/** The numbers of 70 rows or items, each between two texts and again before a third. */
function numbers(before: string, behind: string, again?: string): string {
    return Array.from({ length: 70 }, (_, index) => `${before}${index + 1}${behind}${again === undefined ? '' : index + 1 + again}`).join('');
}

const QUESTION = 'TWO LINES\n  <B>HERE</B>';
const cases: { name: string; content: string; from: string; to: string; text: string; html: string }[] = [
    {
        name: 'across messages', content: 'First\nline\n\n## Head', from: 'LINES', to: 'Head',
        text: 'LINES\n  <B>HERE</B>\n\nFirst line\n\nHead',
        html: '<p>LINES<br>  &lt;B&gt;HERE&lt;/B&gt;</p><p>First\nline</p><h2>Head</h2>',
    },
    {
        name: 'part of a sentence', content: 'One *two* [three](https://a.example/) four', from: 'wo', to: 'thr',
        text: 'wo thr', html: '<em>wo</em> <a href="https://a.example/">thr</a>',
    },
    {
        name: 'part of code', content: '```js\nlet x;\n  let y;\n```', from: 'x;', to: 'let y',
        text: 'x;\n  let y', html: '<pre>x;\n  let y</pre>',
    },
    {
        name: 'text and code', content: 'See:\n\n```js\nlet x;\n```\n\nDone', from: 'See', to: 'Done',
        text: 'See:\n\nlet x;\n\nDone', html: '<p>See:</p><pre><code>let x;\n</code></pre><p>Done</p>',
    },
    {
        name: 'a list from its middle', content: '3. a\n4. b\n   - c\n5. d', from: 'b', to: 'd',
        text: '4. b\n   - c\n5. d', html: '<ol start="4"><li>b<ul><li>c</li></ul></li><li>d</li></ol>',
    },
    {
        name: 'tasks and a quote', content: '- [x] a\n- [ ] b\n\n> c\n> d', from: 'a', to: 'd',
        text: '- a\n- [ ] b\n\n> c d', html: '<ul><li>a</li><li>[ ] b</li></ul><blockquote><p>c\nd</p></blockquote>',
    },
    {
        name: 'a table', content: '|a|b|\n|-|-|\n|1|2|', from: 'a', to: '2',
        text: 'a\tb\n1\t2', html: '<table><thead><tr><th>a</th><th>b</th></tr></thead><tbody><tr><td>1</td><td>2</td></tr></tbody></table>',
    },
    {
        name: 'a table and a list that stand in pieces', from: 'a', to: 'end',
        content: `|a|\n|-|\n${numbers('|', '|\n')}\n${numbers('1. i', '\n')}\nend`,
        text: `a\n${numbers('', '\n')}\n${numbers('', '. i', '\n')}\nend`,
        html: `<table><thead><tr><th>a</th></tr></thead><tbody>${numbers('<tr><td>', '</td></tr>')}</tbody></table>`
            + `<ol>${numbers('<li>i', '</li>')}</ol><p>end</p>`,
    },
    {
        name: 'notes', content: 'Costs 25[^1] today\n\n[^1]: Per month', from: 'Costs', to: 'month',
        text: 'Costs 25[1] today\n\n[1] Per month', html: '<p>Costs 25[1] today</p><p>[1] Per month</p>',
    },
    {
        name: 'formulas', content: 'So $x^2$ and\n\n$$\ny\n$$\n\nend', from: 'So', to: 'end',
        text: 'So $x^2$ and\n\n$$y$$\n\nend', html: '<p>So $x^2$ and</p>$$y$$<p>end</p>',
    },
];

describe('copying', () => {
    for (const { name, content, from, to, text, html } of cases) {
        it(name, () => {
            page.setChat({ id: 'c', messages: [user('u', QUESTION), answer({ content, route: { name: 'Model' } })] });
            const range = page.document.createRange();
            range.setStart(...position(from, false));
            range.setEnd(...position(to, true));
            const copy = copyOf(range);
            assert.equal(copy.text, text);
            // Line ends between elements mean nothing.
            assert.equal(copy.html.replace(/(^|>)\n+(?=<|$)/g, '$1'), html);
        });
    }
});
