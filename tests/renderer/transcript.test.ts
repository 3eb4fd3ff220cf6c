import assert from 'node:assert/strict';
import { after, beforeEach, describe, it } from 'node:test';
import { answer, connect, openPage, turn, user } from './page';

const page = await openPage({ withPort: false });
const { posted } = page;

beforeEach(() => {
    page.window.teskal['setBusy']!(false);
    page.setChat(null);
    posted.length = 0;
});

// A caret that still blinks would keep the process alive.
after(() => page.setChat(null));

/** Lets the page's timers run until something holds. */
async function until(holds: () => boolean): Promise<void> {
    const deadline = Date.now() + 10_000;
    while (!holds()) {
        assert.ok(Date.now() < deadline, `in vain: ${holds}`);
        await turn();
    }
}

/** The messages of the chat that is shown: those of the one before leave the page bit by bit. */
function shown(): HTMLElement[] {
    return page.all('.messages:not([hidden]) article');
}

describe('the port', () => {
    it('of a page without a host takes what is posted', () => {
        page.setChat({ id: 'c', messages: [user('u'), answer({ error: { message: 'No.' } })] });
        page.button('Ask again')!.click();
        connect(page.window, posted);
        page.button('Ask again')!.click();
        assert.deepEqual(posted, [{ type: 'retry' }]);
    });
});

describe('messages', () => {
    it('are articles in order, with names', () => {
        page.setChat({ id: 'c', messages: [user('u'), answer({ content: 'x', route: { name: 'One' } })] });
        page.upsert(user('u2', 'Second'));
        assert.deepEqual(shown().map((node) => node.getAttribute('aria-label')), ['You', 'Teskal, One', 'You']);
    });

    it('get their code coloured once it is complete, and stay as they are if the language is unknown', async () => {
        const content = '```nonsense\nlet y;\n```\n\n```js\nlet x;\n```\n\n```js\nlet z;';
        page.setChat({ id: 'c', messages: [answer({ pending: true, content })] });
        await until(() => page.all('.hljs-keyword').length > 0);
        assert.deepEqual(page.all('pre').map((pre) => pre.querySelectorAll('.hljs-keyword').length), [0, 1, 0]);
        page.upsert(answer({ content }));
        await until(() => page.all('.hljs-keyword').length === 2);
        assert.deepEqual(page.all('pre').map(({ textContent }) => textContent), ['let y;\n', 'let x;\n', 'let z;']);
    });

    it('have their formulas drawn, and show the source of those that are none', async () => {
        page.setChat({ id: 'c', messages: [answer({ content: '$x^2$ and $\\frac{$ and $\\href{javascript:alert(1)}{y}$ and\n\n$$\n\\vec{v}\n$$' })] });
        await until(() => page.all('.katex-display').length > 0);
        const [square, broken, , vector] = page.all('.math');
        assert.ok(square!.querySelector('.katex') && vector!.querySelector('.katex-display'));
        assert.equal(broken!.textContent, '$\\frac{$');
        assert.equal(page.all('.math a, .math [href], .math [data-style]').length, 0);
        assert.match(vector!.querySelector('svg')!.getAttribute('style') ?? '', /width/);
    });

    it('of a long chat are all drawn, in order, and take updates meanwhile', async () => {
        const messages = Array.from({ length: 300 }, (_, index) => user(`m${index}`, `Message ${index}`));
        page.setChat({ id: 'c', messages });
        assert.ok(shown().length < 300);
        page.upsert(user('m3', 'Changed'));
        page.upsert(user('m299', 'Changed too'));
        page.upsert(user('m300', 'New'));
        await until(() => shown().length >= 301);
        const expected = [...messages.map(({ content }) => content), 'New'];
        expected[3] = 'Changed';
        expected[299] = 'Changed too';
        assert.deepEqual(shown().map(({ textContent }) => textContent), expected);
    });

    it('are what they are at once when a long one is drawn in parts, whatever comes for it meanwhile', async () => {
        const blocks = (count: number) => Array.from({ length: count }, (_, index) => `## ${index}\n\n- one\n- two [a]\n\n| a | b |\n|---|---|\n| 1 | 2 |\n\n`).join('');
        const long = `${blocks(120)}[a]: https://a.example\n`;
        const questions = Array.from({ length: 20 }, (_, index) => user(`m${index}`));
        for (const newer of [undefined, `${long}\nmore`, 'Another', `${blocks(90)}${'word '.repeat(4000)}`]) {
            page.setChat({ id: 'c', messages: [answer({ content: long }), ...questions] });
            await new Promise((resolve) => setTimeout(resolve, 0));
            assert.equal(page.all('.messages:not([hidden]) .answer').length, 0);
            if (newer) page.upsert(answer({ content: newer }));
            await until(() => page.all('.messages:not([hidden]) .answer').length > 0);
            const drawn = page.find('.messages:not([hidden]) .answer-text').innerHTML;
            page.setChat({ id: 'd', messages: [answer({ content: newer ?? long })] });
            assert.equal(page.find('.messages:not([hidden]) .answer-text').innerHTML, drawn);
        }
    });

    it('stay, with the focus and the reader\'s place, when the same chat comes anew', async () => {
        const messages = Array.from({ length: 40 }, (_, index) => user(`m${index}`, `Message ${index}`));
        page.setChat({ id: 'c', messages: [...messages, answer({ content: 'Old' })] });
        await until(() => shown().length === 41);
        const before = shown();
        page.button('Ask again')!.focus();
        const changed = [...messages.slice(0, 5), user('new', 'New'), ...messages.slice(6), answer({ id: 'b', pending: true })];
        page.setChat({ id: 'c', messages: changed });
        const now = shown();
        assert.deepEqual(now.map(({ textContent }) => textContent), changed.map(({ content }) => content));
        assert.deepEqual([now[4], now[39]], [before[4], before[39]]);
        assert.deepEqual(shown().filter(({ classList }) => !classList.contains('earlier')), [now.at(-1)], 'the others are quiet');
        assert.equal(page.document.activeElement, now[39]);
        assert.equal(page.find('#announcer').textContent, 'Teskal is answering.');
    });

    it('that cannot be drawn are shown as they are, and the others with them', () => {
        const broken = { ...answer({ content: 'Source' }), attachments: 7, media: 3, content: { toString: () => 'Source' } } as never;
        page.setChat({ id: 'c', messages: [user('u'), broken, user('v', 'After')] });
        assert.deepEqual(shown().map(({ textContent }) => textContent), ['Question', 'Source', 'After']);
        page.upsert(answer({ content: 'Whole' }));
        assert.equal(shown()[1]!.textContent, 'Whole');
    });

    it('of a chat that was left are not drawn into the next one', async () => {
        page.setChat({ id: 'c', messages: Array.from({ length: 50 }, (_, index) => user(`m${index}`)) });
        page.setChat({ id: 'd', messages: [user('other')] });
        await new Promise((resolve) => setTimeout(resolve));
        assert.equal(shown().length, 1);
    });

    it('with attachments show stored and inline pictures only', () => {
        const attachments = [
            { name: 'a.png', mediaType: 'image/png', url: 'teskal-app://file/abcd' },
            { name: 'b.png', mediaType: 'image/png', dataUrl: 'data:image/png;base64,AAAA' },
            { name: 'c.png', mediaType: 'image/png', url: 'https://t.example/c.png' },
            { name: 'd.svg', mediaType: 'image/svg+xml', dataUrl: 'data:image/svg+xml,<svg/>' },
            { name: 'e.pdf', mediaType: 'application/pdf', url: 'teskal-app://file/efgh' },
            { name: 'f.png', mediaType: 'image/png', dropped: true },
        ];
        page.setChat({ id: 'c', messages: [user('u', 'x', { attachments })] });
        assert.deepEqual(page.all('.attachments li').map((item) => item.textContent || item.querySelector('button')!.title),
            ['a.png', 'b.png', 'c.png', 'd.svg', 'PDFe.pdf', 'f.pngOnly the name was kept']);
        assert.deepEqual(page.all('img').map((image) => image.getAttribute('src')), ['teskal-app://file/abcd', 'data:image/png;base64,AAAA']);
    });
});

describe('an answer under way', () => {
    const activity = { phase: 'Searching', searches: ['a'], steps: ['x', 'y'] };

    it('shows its activity and a caret, and neither when it is done', async () => {
        page.setChat({ id: 'c', messages: [answer({ pending: true, content: '- one\n- two', activity })] });
        assert.equal(page.find('.phase').textContent, 'Searching');
        assert.equal(page.find('.caret').parentElement!.textContent, 'two');
        assert.equal(page.all('.route').every((node) => !node.hasChildNodes()), true);
        page.upsert(answer({ content: '- one\n- two', activity, route: { name: 'One' } }));
        assert.equal(page.all('.caret').length, 0);
        assert.equal(page.find('.route-name').textContent, 'One');
        await until(() => page.all('.activity').length === 0);
    });

    it('has its caret behind the last character, wherever that is', () => {
        const places: [string, string][] = [['', 'answer-text'], ['text *em*', 'P'], ['# h', 'H1'], ['> - a', 'P'], ['```\nx', 'lines'], ['|a|b|\n|-|-|\n|1|2', 'TD']];
        for (const [content, place] of places) {
            page.setChat({ id: 'c', messages: [answer({ pending: true, content })] });
            const parent = page.find('.caret').parentElement!;
            assert.ok(parent.tagName === place || parent.className === place, `${JSON.stringify(content)}: ${parent.outerHTML}`);
            assert.equal(parent.lastElementChild!.className, 'caret');
        }
    });
});

describe('actions', () => {
    it('ask again only under the last message, and not while busy', () => {
        const failed = (id: string) => answer({ id, error: { message: 'No.' } });
        page.setChat({ id: 'c', messages: [user('u'), failed('a'), user('v'), failed('b')] });
        assert.equal(page.all('.error-card button').length, 1);
        assert.ok(page.find('article:last-child .error-card button'));
        page.window.teskal['setBusy']!(true);
        assert.equal(page.button('Ask again'), undefined);
        page.window.teskal['setBusy']!(false);
        page.button('Ask again')!.click();
        page.upsert(user('w'));
        assert.equal(page.button('Ask again'), undefined);
        assert.deepEqual(posted, [{ type: 'retry' }]);
    });

    const remedies: [string, string, object][] = [
        ['SIGNED_OUT', 'Sign in', { type: 'signIn' }],
        ['OFFLINE', 'Ask again', { type: 'retry' }],
        ['STOPPED', 'Ask again', { type: 'retry' }],
    ];
    for (const [code, name, message] of remedies) {
        it(`${code} offers ${name}, and nothing else`, () => {
            page.setChat({ id: 'c', messages: [answer({ error: { code, message: '<b>Text</b>' } })] });
            assert.equal(page.find('.error-card p').textContent, '<b>Text</b>');
            assert.equal(page.all('article button').length, 1);
            page.button(name)!.click();
            assert.deepEqual(posted, [message]);
        });
    }

    it('copy the answer as it was written, and code without its last line end', () => {
        const content = 'Text\n\n```js\n"<a>";\n```\n';
        page.setChat({ id: 'c', messages: [answer({ content })] });
        page.find('.actions button').click();
        page.find('.code-copy').click();
        assert.deepEqual(posted, [{ type: 'copy', text: content }, { type: 'copy', text: '"<a>";' }]);
    });

    it('links go to the host and nowhere else', () => {
        page.setChat({ id: 'c', messages: [answer({ content: '[x](https://a.example/b) [y](https://c.example "t")' })] });
        const click = new page.window.MouseEvent('click', { bubbles: true, cancelable: true });
        assert.equal(page.find('a').dispatchEvent(click), false, 'the page does not navigate');
        assert.deepEqual(posted, [{ type: 'openLink', url: 'https://a.example/b' }]);
    });
});
