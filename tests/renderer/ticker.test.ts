import assert from 'node:assert/strict';
import { beforeEach, it } from 'node:test';
import { Ticker } from '../../src/transcript/renderer/page/ticker';

const timers = new Set<() => void>();
const told: Record<string, () => void> = {};
const page = { hidden: false, addEventListener: (_: string, listener: () => void) => { told['visibility'] = listener; } };
const stillness = { matches: false, addEventListener: (_: string, listener: () => void) => { told['stillness'] = listener; } };
Object.assign(globalThis, {
    document: page,
    matchMedia: () => stillness,
    setInterval: (tick: () => void) => { timers.add(tick); return tick; },
    clearInterval: (tick: () => void) => { timers.delete(tick); },
});

let heard: string[] = [];
let ticker: Ticker;

beforeEach(() => {
    page.hidden = stillness.matches = false;
    timers.clear();
    heard = [];
    ticker = new Ticker(1000);
});

function tick(): void {
    for (const timer of timers) timer();
}

it('runs one timer for all, and none for nobody', () => {
    assert.equal(timers.size, 0);
    const stops = ['a', 'b'].map((name) => ticker.listen((step) => heard.push(`${name}${step}`), { moves: name === 'a' }));
    heard = [];
    assert.equal(timers.size, 1);
    tick();
    tick();
    assert.deepEqual(heard, ['a1', 'b1', 'a2', 'b2']);
    stops[0]!();
    assert.equal(timers.size, 1);
    stops[1]!();
    assert.equal(timers.size, 0);
});

it('stops while the page is hidden and brings listeners up to date afterwards', () => {
    ticker.listen((step) => heard.push(`${step}`), { moves: false });
    tick();
    page.hidden = true;
    told['visibility']!();
    assert.equal(timers.size, 0);
    heard = [];
    page.hidden = false;
    told['visibility']!();
    assert.deepEqual([timers.size, heard], [1, ['0']]);
});

it('lets what moves rest where less motion is wanted, and goes on counting', () => {
    ticker.listen((step) => heard.push(`moves ${step}`), { moves: true });
    tick();
    stillness.matches = true;
    told['stillness']!();
    assert.deepEqual([timers.size, heard.at(-1)], [0, 'moves 0']);
    ticker.listen((step) => heard.push(`counts ${step}`), { moves: false });
    tick();
    assert.deepEqual([timers.size, ...heard.slice(-2)], [1, 'moves 0', 'counts 1']);
});
