import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { JSDOM } from 'jsdom';
import { Sanitizer } from '../../src/transcript/renderer/markdown/sanitizer';

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

/** HTML that would hurt if a renderer let it through. */
const MARKUP = [
    '<script>alert(1)</script>', '<img src=x onerror=alert(1)>', '<img src="https://t.example/p">', '<svg onload=alert(1)>',
    '<svg><script>alert(1)</script></svg>', '<svg><use href="data:image/svg+xml,x"/></svg>', '<svg><a xlink:href="javascript:alert(1)"><text>x</text></a></svg>',
    '<svg><animate attributeName=href values=javascript:alert(1) /></svg>', '<svg><foreignObject><iframe src=x></iframe></foreignObject></svg>',
    '<math><mi xlink:href="javascript:alert(1)">x</mi></math>', '<math><mtext><table><mglyph><style><!--</style><img title="--&gt;&lt;img src=1 onerror=alert(1)&gt;">',
    '<math><maction actiontype="statusline#http://a" xlink:href="javascript:alert(1)">x</maction></math>', '<iframe src="https://t.example"></iframe>',
    '<iframe srcdoc="<script>alert(1)</script>"></iframe>', '<object data="https://t.example"></object>', '<embed src="https://t.example">',
    '<link rel=stylesheet href="https://t.example">', '<style>@import "https://t.example"</style>', '<style>a{background:url(https://t.example)}</style>',
    '<meta http-equiv=refresh content="0;url=https://t.example">', '<base href="https://t.example/">', '<form action="https://t.example"><input name=a></form>',
    '<button formaction="javascript:alert(1)">x</button>', '<a href="javascript:alert(1)">x</a>', '<a href=" javascript:alert(1)">x</a>',
    '<a href="java&#x0A;script:alert(1)">x</a>', '<a href="data:text/html,<script>alert(1)</script>">x</a>', '<a href="vbscript:x">x</a>',
    '<a href="teskal-app://renderer/index.html">x</a>', '<a href="//t.example">x</a>', '<a href="https://a.example" target="_blank" ping="https://t.example">x</a>',
    '<a href="https://a.example" onclick="alert(1)">x</a>', '<p style="background:url(https://t.example)">x</p>', '<p id="transcript" name="teskal">x</p>',
    '<div background="https://t.example">x</div>', '<table background="https://t.example"><tr><td>x</td></tr></table>', '<video src="https://t.example" autoplay></video>',
    '<video poster="https://t.example"></video>', '<audio src="https://t.example" autoplay></audio>', '<source srcset="https://t.example">',
    '<picture><source srcset="https://t.example"><img></picture>', '<input type=image src="https://t.example">', '<body onload=alert(1)>', '<details ontoggle=alert(1) open>x</details>',
    '<marquee onstart=alert(1)>x</marquee>', '<template><script>alert(1)</script></template>', '<noscript><p title="</noscript><img src=x onerror=alert(1)>">',
    '<textarea><p title="</textarea><img src=x onerror=alert(1)>">', '<title><p title="</title><img src=x onerror=alert(1)>">', '<xmp><p title="</xmp><script>alert(1)</script>">',
    '<form><math><mtext></form><form><mglyph><style></math><img src onerror=alert(1)>', '<svg></p><style><a id="</style><img src=1 onerror=alert(1)>">',
    '<x-y onclick=alert(1)>x</x-y>', '<a is="x-y" href="https://a.example">x</a>', '<div slot=x>x</div>', '<blink>x</blink>', '<portal src="https://t.example"></portal>',
    '<p data-action="retry" aria-labelledby="x">x</p>', '<img src="data:image/png;base64,AAAA">', '<!--><script>alert(1)</script>-->', '<?xml-stylesheet href="https://t.example"?>',
    '<![CDATA[<script>alert(1)</script>]]>', '<div><a href="https://a.example"><a href="javascript:alert(1)">x</a></a></div>', '<br onfocus=alert(1) tabindex=0 autofocus>',
    '<ol start="javascript:alert(1)" type=a><li value=1>x</li></ol>', '<frameset onload=alert(1)>', '<dialog open onclose=alert(1)>x</dialog>', '<isindex action=javascript:alert(1)>',
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
