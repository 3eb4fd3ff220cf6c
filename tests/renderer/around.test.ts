import assert from 'node:assert/strict';
import { after, beforeEach, describe, it } from 'node:test';
import type { ChatMessage } from '../../src/transcript/renderer/message/records';
import { answer, openPage, turn, user } from './page';

const page = await openPage();
const { posted, window } = page;
// What jsdom lacks of dialogs.
Object.assign(window.HTMLDialogElement.prototype, {
    showModal(this: HTMLDialogElement) { this.open = true; },
    close(this: HTMLDialogElement) { this.open = false; this.dispatchEvent(new window.Event('close')); },
});
Object.assign(window.HTMLMediaElement.prototype, { pause(this: HTMLMediaElement) { this.dataset['paused'] = 'yes'; } });

const route = { name: 'One', decision: { reason: 'Because.' } };
const png = 'data:image/png;base64,AAAA';

function show(...messages: ChatMessage[]): void {
    page.setChat({ id: 'c', messages });
    posted.length = 0;
}

function press(key: string, more: KeyboardEventInit = {}): void {
    (page.document.activeElement ?? page.document.body).dispatchEvent(new window.KeyboardEvent('keydown', { key, bubbles: true, cancelable: true, ...more }));
}

function buttons(): (string | null)[] {
    return page.all('.route button').map((button) => button.getAttribute('aria-label'));
}

beforeEach(() => {
    window.teskal['setBusy']!(false);
    page.setChat(null);
    posted.length = 0;
});
after(() => page.setChat(null));

describe('the line under an answer', () => {
    it('tells on demand why a model was chosen, if it is told', () => {
        show(answer({ content: 'x', route: { name: 'One' } }));
        assert.equal(page.button('Why this model'), undefined);
        page.setChat(null);
        show(answer({ content: 'x', route }));
        const disclosure = page.button('Why this model')!;
        assert.deepEqual([disclosure.getAttribute('aria-expanded'), page.find('.decision').hidden], ['false', true]);
        disclosure.click();
        assert.deepEqual([disclosure.getAttribute('aria-expanded'), page.find('.decision').textContent], ['true', 'WhyBecause.']);
        disclosure.click();
        assert.equal(page.find('.decision').hidden, true);
    });

    it('keeps its buttons, and with them the focus, when others come and go', () => {
        show(answer({ content: 'x', route }));
        const copy = page.button('Copy')!;
        copy.focus();
        window.teskal['setBusy']!(true);
        assert.deepEqual(buttons(), ['Why this model', 'Copy', 'Read aloud']);
        window.teskal['setBusy']!(false);
        assert.deepEqual(buttons(), ['Why this model', 'Copy', 'Read aloud', 'Ask again']);
        assert.equal(page.document.activeElement, copy);
    });

    it('is not touched while only text comes, nor is anything else around it', () => {
        const activity = { phase: 'Searching', searches: ['a'], steps: ['x', 'y'] };
        show(answer({ pending: true, content: 'o', activity, route }));
        const changes: string[] = [];
        const observer = new window.MutationObserver((records) => changes.push(...records.map(({ target }) => (target as Element).className)));
        observer.observe(page.find('.answer'), { attributes: true, childList: true });
        for (const part of ['.activity', '.route']) observer.observe(page.find(part), { attributes: true, childList: true, subtree: true, characterData: true });
        for (let length = 1; length < 20; length += 1) page.upsert(answer({ pending: true, content: 'o'.repeat(length), activity: structuredClone(activity), route: structuredClone(route) }));
        changes.push(...observer.takeRecords().map(({ target }) => (target as Element).className));
        assert.deepEqual(changes, []);
    });
});

describe('activity', () => {
    it('adds searches and moves the mark without drawing the rest again', () => {
        const activity = { phase: 'Searching', searches: ['a'], steps: ['x', 'y', 'z'] };
        show(answer({ pending: true, activity }));
        const before = [...page.all('.searches li'), ...page.all('.step')];
        page.upsert(answer({ pending: true, activity: { ...activity, phase: 'y', searches: ['a', 'b'] } }));
        const now = [page.all('.searches li')[0], ...page.all('.step')];
        assert.ok(before.every((node, index) => node === now[index]));
        assert.deepEqual(page.all('.searches li').map(({ textContent }) => textContent), ['a', 'b']);
        assert.deepEqual(page.all('.step').map(({ className }) => className), ['step done', 'step current', 'step open']);
        assert.equal(page.find('[aria-current]').textContent, 'y');
        assert.equal(page.find('.phase').textContent, 'Step 2 of 3');
    });
});

describe('reading aloud', () => {
    it('sends what can be heard and shows its state', () => {
        show(answer({ content: '# Head\n\n- one\n- *two* $x^2$\n\n```js\nlet noise;\n```\n\n> costs 25[^n] today\n\n[^n]: In May.' }));
        page.button('Read aloud')!.click();
        assert.deepEqual(posted, [{ type: 'speak', id: 'a', text: 'Head\n\none\ntwo x^2\n\ncosts 25 today\n\nIn May.' }]);
        for (const [state, name] of [['loading', 'Preparing to read aloud, stop'], ['playing', 'Stop reading aloud'], ['idle', 'Read aloud']] as const) {
            window.teskal['setAudio']!('a', state);
            assert.equal(page.find('.speak').getAttribute('aria-label'), name);
            assert.equal(page.all('.speak .dot').length, state === 'loading' ? 3 : 0);
        }
    });

    it('of code alone reads the code', () => {
        show(answer({ content: '```py\nx = 1\n```\n\n```\ny\n```' }));
        page.button('Read aloud')!.click();
        assert.deepEqual(posted, [{ type: 'speak', id: 'a', text: 'x = 1\n\ny' }]);
    });

    it('keeps its state for an answer that is drawn later', () => {
        window.teskal['setAudio']!('a', 'playing');
        show(answer({ content: 'x' }));
        assert.ok(page.button('Stop reading aloud'));
        window.teskal['setAudio']!('a', 'idle');
    });
});

describe('media', () => {
    const file = 'teskal-app://file/abcd';
    const cases: [string, object, string, string[], string?][] = [
        ['a picture', { type: 'image', status: 'done', url: file, prompt: 'A dog' }, 'img', ['Save', 'Ask again']],
        ['a video', { type: 'video', status: 'done', url: file }, 'video', ['Save', 'Ask again']],
        ['a song', { type: 'music', status: 'done', url: 'data:audio/wav;base64,AA', lyrics: 'La' }, 'audio', ['Save', 'Ask again']],
        ['a remote video is not loaded', { type: 'video', status: 'done', url: 'https://t.example/x.mp4' }, '', ['Ask again'], 'Your video is ready.'],
        ['a remote picture is not loaded', { type: 'image', status: 'done', url: 'https://t.example/x.png' }, '', ['Ask again'], 'Your image is ready.'],
        ['an unknown kind can be saved', { type: 'constructor', status: 'done', url: file }, '', ['Save', 'Ask again'], 'This file can’t be shown.'],
        ['a pending video', { type: 'video', status: 'pending', url: file, startedAt: Date.now() - 42_500 }, '', ['Ask again'], 'Making your video…'],
        ['a song being made', { type: 'music', status: 'pending' }, '', ['Ask again'], 'Making your song…'],
        ['a failure asks again in its card', { type: 'video', status: 'error', message: 'No.', url: file }, '', [], 'No.'],
    ];
    for (const [name, media, tag, actions, text = ''] of cases) {
        it(name, () => {
            show(answer({ media: media as never }));
            const shown = page.all('.media :is(img, video, audio)');
            assert.deepEqual(shown.map(({ localName }) => localName), tag ? [tag] : []);
            assert.equal(page.find('.media-card p, .media-card')?.textContent ?? '', text);
            assert.deepEqual(buttons(), actions);
            assert.match(page.find('.elapsed')?.dataset['label'] ?? 'none', name.includes('pending') ? /^0:4\d$/ : /^none$/);
            assert.equal(page.find('.lyrics')?.textContent, tag === 'audio' ? 'La' : undefined);
            page.button('Save')?.click();
            assert.deepEqual(posted, actions.includes('Save') ? [{ type: 'saveMedia', id: 'a' }] : []);
        });
    }

    it('that was under way is announced when it is there', () => {
        const media = { type: 'music', status: 'pending', startedAt: 0 };
        show(answer({ media }));
        page.find('#announcer').replaceChildren();
        page.upsert(answer({ media: { ...media, startedAt: 1 } }));
        assert.equal(page.find('#announcer').textContent, '');
        page.upsert(answer({ media: { ...media, status: 'done', url: file } }));
        assert.equal(page.find('#announcer').textContent, 'Your song is ready.');
    });

    it('that cannot be played says so, and is loaded once more on demand', async () => {
        show(answer({ media: { type: 'video', status: 'done', url: file } }));
        const video = page.find('video');
        // As it is in an engine that plays.
        video.tabIndex = 0;
        assert.equal(video.hasAttribute('src'), false, 'loaded only when it is near the window');
        await turn();
        for (const again of [true, false]) {
            video.focus();
            video.dispatchEvent(new window.Event('error'));
            assert.equal(page.find('.media-card').textContent, 'This video can’t be played.');
            assert.equal(page.document.activeElement, page.find('article'));
            assert.equal(page.button('Try again') !== undefined, again);
            page.button('Try again')?.click();
            if (again) assert.deepEqual([page.find('video'), page.document.activeElement], [video, video]);
        }
    });

    it('stays when its file is stored, and goes on playing from where it was loaded', async () => {
        const inline = 'teskal-app://file/inline-1';
        for (const { playing, type, tag, src } of [
            { playing: true, type: 'music', tag: 'audio', src: inline },
            { playing: false, type: 'music', tag: 'audio', src: file },
            { playing: false, type: 'image', tag: 'img', src: file },
        ]) {
            page.setChat(null);
            show(answer({ media: { type, status: 'done', url: inline, prompt: 'P' } }));
            await turn();
            const shown = page.find(`.media ${tag}`);
            Object.defineProperty(shown, 'paused', { value: !playing });
            page.upsert(answer({ media: { type, status: 'done', url: file, fileId: 'abcd', mediaType: 'x/y', prompt: 'P' } }));
            assert.equal(page.find(`.media ${tag}`), shown);
            assert.equal(shown.getAttribute('src'), src);
            shown.dispatchEvent(new window.Event('error'));
            if (playing) assert.equal(shown.getAttribute('src'), file);
        }
    });

    it('plays one at a time', () => {
        const song = { type: 'music', status: 'done', url: 'data:audio/wav;base64,AA' };
        show(answer({ media: song }), { ...answer({ media: song }), id: 'b' });
        const [first, second] = page.all('audio');
        second!.dispatchEvent(new window.Event('play'));
        assert.deepEqual([first!.dataset['paused'], second!.dataset['paused']], ['yes', undefined]);
        page.setChat(null);
        assert.equal(second!.dataset['paused'], 'yes');
    });
});

describe('pictures', () => {
    const attachments = ['one.png', 'two.png', 'three.png'].map((name) => ({ name, mediaType: 'image/png', dataUrl: png }));

    /** What shows them is loaded in between. */
    const open = async (opener: HTMLElement) => {
        opener.focus();
        opener.click();
        await turn();
    };

    it('open large, one after another, and give the focus back', async () => {
        show(user('u', 'x', { attachments }));
        const opener = page.button('one.png')!;
        await open(opener);
        const shown = () => page.find('.lightbox-picture').getAttribute('alt');
        const seen = ['Left', 'Right', 'Right', 'Right', 'Left', 'Right'].map((to) => { press(`Arrow${to}`); return shown(); });
        assert.deepEqual(seen, ['one.png', 'two.png', 'three.png', 'three.png', 'two.png', 'three.png']);
        press('Tab', { shiftKey: true });
        assert.equal(page.document.activeElement, page.button('Previous picture'));
        press('Tab', { shiftKey: true });
        assert.equal(page.document.activeElement, page.button('Close'));
        press('Escape');
        assert.equal(page.document.activeElement, opener);
    });

    it('close when another chat is shown', async () => {
        show(user('u', 'x', { attachments }));
        await open(page.button('one.png')!);
        assert.ok(page.find('dialog'));
        page.button('two.png')!.click();
        page.setChat(null);
        await turn();
        assert.equal(page.find('dialog'), null);
    });

    it('that were stored meanwhile keep their nodes, the focus and the text beside them', () => {
        show(user('u', 'x', { attachments }));
        const before = [page.find('.bubble').firstChild, ...page.all('.opens-large').slice(0, 2)];
        page.button('one.png')!.focus();
        const stored = [{ ...attachments[0]!, url: 'teskal-app://file/abcd' }, attachments[1]!];
        page.upsert(user('u', 'x', { attachments: stored }));
        assert.deepEqual([page.find('.bubble').firstChild, ...page.all('.opens-large')], before);
        assert.deepEqual(page.all('.attachments img').map((image) => image.getAttribute('src')), ['teskal-app://file/abcd', png]);
        assert.equal(page.document.activeElement, page.button('one.png'));
        page.upsert(user('u', 'x', { attachments: [{ name: 'one.png', mediaType: 'image/png', dropped: true }] }));
        assert.equal(page.find('.attachments').textContent, 'one.pngOnly the name was kept');
        assert.equal(page.document.activeElement, page.find('article'));
    });

    it('that cannot be loaded are named', () => {
        show(user('u', 'x', { attachments }));
        page.all('.attachments img')[0]!.dispatchEvent(new window.Event('error'));
        assert.deepEqual(page.all('.attachments li').map(({ textContent }) => textContent), ['one.pngCan’t be shown', '', '']);
    });
});

describe('the focus', () => {
    const failures: [string, Partial<ChatMessage>][] = [
        ['an error', { error: { message: 'No.' } }],
        ['a failed video', { media: { type: 'video', status: 'error', message: 'No.' } }],
        ['the line under an answer', { content: 'x' }],
    ];
    for (const [name, failure] of failures) {
        it(`stays in ${name} when it cannot be asked again for the moment`, () => {
            show(answer(failure));
            const card = page.find('.error-card, .failed, .actions');
            page.button('Ask again')!.focus();
            window.teskal['setBusy']!(true);
            assert.equal(page.document.activeElement, page.find('article'));
            window.teskal['setBusy']!(false);
            assert.equal(page.find('.error-card, .failed, .actions'), card);
            page.button('Ask again')!.focus();
            assert.equal(page.find('article').hasAttribute('tabindex'), false, 'only while it has the focus');
            page.upsert(answer({ ...failure, route: { name: 'One' } }));
            assert.equal(page.document.activeElement, page.button('Ask again'));
        });
    }
});

describe('the end of an answer', () => {
    const ends: [string, Partial<ChatMessage>, string][] = [
        ['with its text', { content: 'x' }, 'The answer is complete.'],
        ['with a video begun', { media: { type: 'video', status: 'pending' } }, 'Making your video…'],
        ['with a picture', { media: { type: 'image', status: 'done', url: png } }, 'Your image is ready.'],
        ['with a failure', { content: 'x', error: { message: 'It broke.' } }, 'It broke.'],
    ];
    for (const [name, end, expected] of ends) {
        it(`${name} is announced, and nothing on the way`, () => {
            show(user('u'));
            const said: (string | null)[] = [];
            const hear = (records: MutationRecord[]) => said.push(...records.flatMap(({ addedNodes }) => [...addedNodes]).map((node) => node.textContent));
            const observer = new window.MutationObserver(hear);
            observer.observe(page.find('#announcer'), { childList: true, subtree: true, characterData: true });
            page.upsert(answer({ pending: true }));
            for (const content of ['o', 'on', 'one']) page.upsert(answer({ pending: true, content, activity: { phase: content } }));
            page.upsert(answer(end));
            page.upsert(answer({ ...end, route }));
            hear(observer.takeRecords());
            assert.deepEqual(said, ['Teskal is answering.', expected]);
        });
    }
});

it('being out of credits leads to the credits', () => {
    show(answer({ error: { code: 'INSUFFICIENT_CREDITS', message: 'Out.' } }));
    assert.equal(page.all('article button').length, 1);
    page.button('Credits')!.click();
    assert.deepEqual(posted, [{ type: 'openSheet', sheet: 'credits' }]);
});

describe('link cards', () => {
    const url = 'https://a.example/b?c=d';
    const asked = () => posted.filter(({ type }) => type === 'fetch') as { id: number; path: string }[];

    it('ask once per address for links that stand alone, and show the reply', async () => {
        show(answer({ content: `<${url}>\n\nSee <${url}>.\n\n[again](${url})\n\n- <${url}>\n\n<mailto:a@b.example>\n\n[x](${url}) <https://b.example>\n\nend` }));
        await turn();
        assert.deepEqual(asked().map(({ path }) => path), [`/api/unfurl?url=${encodeURIComponent(url)}`]);
        assert.equal(page.all('.link-card').length, 0);
        window.teskal['fetchResult']!(asked()[0]!.id, 200, JSON.stringify({ title: '<b>T</b>', site: 'bank.example', url: 'https://evil.example' }), 'application/json');
        await turn();
        assert.deepEqual(page.all('.link-card').map(({ textContent }) => textContent), Array(2).fill('<b>T</b>a.example · bank.example'));
        posted.length = 0;
        page.find('.link-card').click();
        assert.deepEqual(posted, [{ type: 'openLink', url }]);
    });

    it('are asked for when a definition at the end makes a link of what was text', async () => {
        show(answer({ content: '[Title][1]\n\nText\n\n', pending: true }));
        await turn();
        assert.deepEqual(asked(), []);
        page.upsert(answer({ content: `[Title][1]\n\nText\n\n[1]: ${url}\n` }));
        await turn();
        assert.equal(asked().length, 1);
    });

    const failures: [string, number, string][] = [['a failure', 502, '{"title":"T"}'], ['no title', 200, '{"title":[]}'], ['no JSON', 200, 'x']];
    for (const [name, status, body] of failures) {
        it(`show nothing for ${name}`, async () => {
            show(answer({ content: `<${url}>` }));
            await turn();
            window.teskal['fetchResult']!(asked()[0]!.id, status, body, 'application/json');
            await turn();
            assert.equal(page.all('.link-card').length, 0);
        });
    }
});
