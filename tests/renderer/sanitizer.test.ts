import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { JSDOM } from 'jsdom';
import { Sanitizer } from '../../src/transcript/renderer/markdown/sanitizer';
import payloads from '../hostile/payloads/markup.json';

const { window } = new JSDOM('');
const sanitizer = new Sanitizer(window as never);

const ELEMENTS = new Set(('a blockquote br code div em h1 h2 h3 h4 h5 h6 hr li ol p pre s span strong table tbody td th '
    + 'thead tr ul sup').split(' '));
const ATTRIBUTES = new Set(['href', 'title', 'class', 'start', 'role', 'aria-label', 'data-language', 'data-tex', 'data-open-tex', 'data-note', 'tabindex']);

/** Everything about a fragment that could run, load or navigate. */
function dangers(fragment: DocumentFragment): string[] {
    return [...fragment.querySelectorAll('*')].flatMap((found) => [
        ...(ELEMENTS.has(found.localName) && found.namespaceURI === 'http://www.w3.org/1999/xhtml' ? [] : [`<${found.localName}>`]),
        // An emptied "is" names nothing; it cannot be removed once an element was made with it.
        ...[...found.attributes].filter(({ name, value }) => !(name === 'is' && value === '')).filter(({ name, value }) => !ATTRIBUTES.has(name)
            || (name === 'href' && !/^(https?:\/\/|mailto:)/.test(value))).map(({ name, value }) => `${found.localName} ${name}=${value}`),
    ]);
}

/** HTML that would hurt if a renderer let it through: what the page is shown in its engine, and what only a renderer could make. */
const MARKUP = [
    ...payloads.flatMap(([, markup]) => typeof markup === 'string' ? markup : []),
    '<a href="javascript:alert(1)">x</a>', '<a href=" javascript:alert(1)">x</a>', '<a href="java&#x0A;script:alert(1)">x</a>',
    '<a href="data:text/html,<script>alert(1)</script>">x</a>', '<a href="vbscript:x">x</a>', '<a href="teskal-app://renderer/index.html">x</a>',
    '<a href="//t.example">x</a>', '<a href="https://a.example" target="_blank" ping="https://t.example">x</a>', '<a href="https://a.example" onclick="alert(1)">x</a>',
    '<a is="x-y" href="https://a.example">x</a>', '<div><a href="https://a.example"><a href="javascript:alert(1)">x</a></a></div>',
    '<p id="transcript" name="teskal">x</p>', '<p data-action="retry" aria-labelledby="x">x</p>', '<img src="data:image/png;base64,AAAA">', '<div slot=x>x</div>',
    '<br onfocus=alert(1) tabindex=0 autofocus>', '<ol start="javascript:alert(1)" type=a><li value=1>x</li></ol>', '<blink>x</blink>',
];

describe('the sanitiser', () => {
    for (const markup of MARKUP) {
        it(`disarms ${markup}`, () => assert.deepEqual(dangers(sanitizer.toFragment(markup)), []));
    }

    it('keeps what the renderer makes', () => {
        const html = '<pre><code data-language="c++">x</code></pre><span class="math" data-tex="a_1">$a_1$</span>'
            + '<a href="https://a.example/" title="a.example">x</a><ol start="3"><li class="task"><span class="task-mark" role="img" aria-label="To do"></span>x</li></ol>';
        const holder = window.document.createElement('div');
        holder.append(sanitizer.toFragment(html));
        assert.equal(holder.innerHTML, html);
    });
});
