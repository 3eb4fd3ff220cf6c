import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { readActivity } from '../../src/transcript/renderer/message/activity';
import { changedParts, sameValue } from '../../src/transcript/renderer/message/changes';
import type { ChatMessage } from '../../src/transcript/renderer/message/records';
import { readRoute } from '../../src/transcript/renderer/message/route';

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
        ['step 9', 0, 2], ['step 0', 0, 0], ['Thinking', 1, 1], ['Find prices', 2, 2], ['Thinking', 7, 2],
    ];
    for (const [phase, before, expected] of current) {
        it(`${JSON.stringify(phase)} after step ${before + 1} means step ${expected + 1}`, () => {
            assert.equal(readActivity({ phase, searches: [], steps }, before).current, expected);
        });
    }

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
