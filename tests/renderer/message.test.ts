import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { readActivity } from '../../src/transcript/renderer/message/activity';
import { changedParts, sameValue } from '../../src/transcript/renderer/message/changes';
import { readDecision } from '../../src/transcript/renderer/message/decision';
import { clockText } from '../../src/transcript/renderer/message/elapsedTime';
import { readLinkSummary } from '../../src/transcript/renderer/message/linkSummary';
import type { ChatMessage } from '../../src/transcript/renderer/message/records';
import { readRoute } from '../../src/transcript/renderer/message/route';
import { isLocalPlayable } from '../../src/transcript/renderer/page/localFiles';

describe('what changed in a message', () => {
    const base: ChatMessage = {
        id: 'm', role: 'assistant', content: 'text', pending: true,
        activity: { phase: 'p', searches: ['a'], steps: ['s'] }, route: { name: 'One', web: false },
    };
    const cases: [string, Partial<ChatMessage>, string[]][] = [
        ['nothing, in new objects', { activity: { steps: ['s'], searches: ['a'], phase: 'p' } }, []],
        ['text', { content: 'text more' }, ['content']],
        ['the end', { content: 'done', pending: false }, ['content', 'pending']],
        ['one more search', { activity: { phase: 'p', searches: ['a', 'b'], steps: ['s'] } }, ['activity']],
        ['another order of searches', { activity: { phase: 'p', searches: ['b', 'a'], steps: ['s'] } }, ['activity']],
        ['a member of the route', { route: { name: 'One', web: true } }, ['route']],
        ['a member gone from the route', { route: { name: 'One' } }, ['route']],
        ['an error', { error: { message: 'x' } }, ['error']],
        ['media', { media: { type: 'image' } }, ['media']],
        ['attachments', { attachments: [{ name: 'a', mediaType: 'b' }] }, ['attachments']],
    ];
    for (const [name, change, parts] of cases) {
        it(name, () => assert.deepEqual([...changedParts(structuredClone(base), { ...structuredClone(base), ...change })], parts));
    }

    it('is everything for a new message', () => assert.equal(changedParts(undefined, base).size, 7));

    it('tells values apart that look alike', () => {
        const different: [unknown, unknown][] = [[null, {}], [[], {}], [0, false], ['1', 1], [undefined, null], [{ a: undefined }, { b: undefined }], [[1], [1, 2]]];
        for (const [a, b] of different) assert.ok(!sameValue(a, b) && !sameValue(b, a), `${JSON.stringify(a)} and ${JSON.stringify(b)}`);
    });
});

describe('activity', () => {
    const steps = ['Find prices', 'Check the weather', 'Put in order'];
    const current: [string, number, number][] = [
        ['', 0, 0], ['Thinking', 0, 0], ['Check the weather', 0, 1], ['now: check the WEATHER for Sunday', 0, 1], ['Step 3 of 3', 0, 2],
        ['step 9', 0, 2], ['step 0', 0, 0], ['Thinking', 1, 1], ['Find prices', 2, 2],
    ];
    for (const [phase, before, expected] of current) {
        it(`${JSON.stringify(phase)} after step ${before + 1} means step ${expected + 1}`, () => {
            assert.equal(readActivity({ phase, steps }, { phase: '', searches: [], steps, current: before }).current, expected);
        });
    }

    it('begins anew with a new plan, and goes on with one that has grown', () => {
        const before = readActivity({ phase: 'Step 3', steps });
        assert.equal(readActivity({ phase: 'Thinking', steps: [...steps, 'Tell'] }, before).current, 2);
        assert.equal(readActivity({ phase: 'Thinking', steps: ['Look', ...steps.slice(1)] }, before).current, 0);
        assert.equal(readActivity({ phase: 'Thinking', steps: steps.slice(0, 2) }, before).current, 0);
    });

    it('is read from anything', () => {
        const empty = { phase: '', searches: [], steps: [], current: 0 };
        for (const value of [undefined, null, 3, 'x', [], {}, { phase: 1, searches: 'a', steps: { 0: 'a' } }]) assert.deepEqual(readActivity(value), empty);
        assert.deepEqual(readActivity({ phase: 'web_search', searches: [' a ', 'a', 1, '', 'b'], steps: ['x', null, ' '] }),
            { phase: 'Web search', searches: ['a', 'b'], steps: ['x'], current: 0 });
    });
});

describe('the route line', () => {
    const cases: [unknown, ReturnType<typeof readRoute>][] = [
        [undefined, null], [[], null], ['x', null], [{}, null], [{ name: ' ' }, null], [{ name: 1, model: {} }, null],
        [{ model: 'one-2' }, { name: 'one-2', details: [] }],
        [{ model: 'm', name: 'Model One', lab: 'lab', task: 'code', difficulty: 'hard', effort: 'high', web: true, anonymized: 'names' },
            { name: 'Model One', details: ['Lab', 'Code', 'Hard', 'High effort', 'Web', 'Anonymized'] }],
        [{ name: 'M', web: 'true', anonymized: '0', task: 5 }, { name: 'M', details: [] }],
        [JSON.parse('{"__proto__": {"name": "x"}}'), null],
    ];
    for (const [route, line] of cases) it(JSON.stringify(route) ?? 'absent', () => assert.deepEqual(readRoute(route), line));
});

describe('why a model was chosen', () => {
    const told = (route: unknown) => readDecision(route).map(({ label, values }) => `${label}: ${values.map(({ text, figure }) => [text, figure].filter(Boolean).join(' ')).join('; ')}`);
    const cases: [string, unknown, string[]][] = [
        ['what the service sends', { model: 'a/one', preference: 'quality', decision: { model: 'a/one', task: 'code', considered: [{ model: 'a/one', score: 0.93 }, { model: 'b/two', score: 0.7111 }], reason: 'Because.' } },
            ['Why: Because.', 'Preference: quality', 'Model: a/one', 'Considered: a/one 0.93; b/two 0.711']],
        ['several reasons', { decision: { reasons: ['x', ' y ', 3, null, {}] } }, ['Why: x; y; 3']],
        ['unknown members', { decision: { maxCost: 2, fast_path: true, scores: { someThing: 0.5 }, nothing: null, deep: { a: { b: 1 } } } }, ['Max cost: 2', 'Fast path: Yes', 'Scores: Some thing 0.5', 'Deep: A']],
        ['a sentence', { decision: 'So it is.' }, ['Why: So it is.']],
        ['a list', { decision: ['one', { name: 'two', weight: 2 }] }, ['Considered: one; two 2']],
        ['nothing', { decision: null }, []],
    ];
    for (const [name, route, rows] of cases) it(name, () => assert.deepEqual(told(route), rows));

    it('is bounded', () => {
        const many = Object.fromEntries(Array.from({ length: 5000 }, (_, index) => [`member${index}`, Array(5000).fill('x'.repeat(5000))]));
        const rows = readDecision({ decision: { ...many, ['k'.repeat(9999)]: 1 } });
        assert.ok(rows.length <= 16 && JSON.stringify(rows).length < 100_000);
        for (const value of [undefined, null, 3, 'x', [], { decision: 7 }, { decision: [[[]]] }]) assert.ok(Array.isArray(readDecision(value)));
    });
});

describe('the summary of a link', () => {
    const summary = (value: unknown) => readLinkSummary(JSON.stringify(value));
    it('is read from a reply', () => assert.deepEqual(summary({ title: ' A\n title ', description: 'd', site: 's', url: 'x' }), { title: 'A title', description: 'd', site: 's' }));
    it('leaves out what is no text', () => assert.deepEqual(summary({ title: 'T', description: 1, site: ['s'] }), { title: 'T', description: '', site: '' }));
    it('has no title, no summary', () => {
        for (const value of [null, 3, [], {}, { title: '' }, { title: ' \u202e\u0000' }, { title: { length: 1 } }]) assert.equal(summary(value), null);
        for (const body of ['', '{', '<html>', `{"title":"${'x'.repeat(70_000)}"}`]) assert.equal(readLinkSummary(body), null);
    });
    it('cuts what is long between characters and turns no text around', () => {
        const { title, description } = summary({ title: '🦊'.repeat(500), description: 'a\u202Etxt.exe\u2066' })!;
        assert.equal(title, `${'🦊'.repeat(199)}…`);
        assert.equal(description, 'atxt.exe');
    });
});

it('elapsed time is written as a clock', () => {
    const cases: [number, string][] = [[-5000, '0:00'], [999, '0:00'], [42_000, '0:42'], [600_000, '10:00'], [3_723_000, '1:02:03']];
    for (const [duration, text] of cases) assert.equal(clockText(duration), text);
});

it('only stored files and inline sound and film are played', () => {
    for (const address of ['teskal-app://file/ab-C_9', 'data:audio/mpeg;base64,AA', 'data:video/mp4;codecs=avc1;base64,AA']) assert.ok(isLocalPlayable(address), address);
    for (const address of [undefined, '', 'https://a.example/x.mp4', 'teskal-app://file/../x', 'teskal-app://renderer/main.js', 'data:text/html;base64,AA', 'data:image/svg+xml;base64,AA', 'blob:x', 'file:///x', 'DATA:audio/mpeg,x'])
        assert.ok(!isLocalPlayable(address), address);
});
