import assert from 'node:assert/strict';
import { beforeEach, describe, it } from 'node:test';
import { answer, openPage, resized } from './page';

const page = await openPage();
const button = page.find('#to-end') as HTMLButtonElement;

// What the real engine shows is tested there; here is what needs moments that it gives nobody.

/** A window of 500 points on contents whose height the tests set. */
const view = { height: 2000, top: 0 };
Object.defineProperties(page.document.documentElement, {
    clientHeight: { get: () => 500 },
    scrollHeight: { get: () => view.height },
    scrollTop: {
        get: () => view.top,
        set: (top: number) => {
            view.top = Math.max(0, Math.min(top, view.height - 500));
        },
    },
});

function scrollTo(top: number): void {
    page.document.documentElement.scrollTop = top;
    page.document.dispatchEvent(new page.window.Event('scroll'));
}

function grow(points: number): void {
    view.height += points;
    page.upsert(answer({ content: `Height ${view.height}` }));
    resized();
}

beforeEach(() => {
    view.height = 2000;
    view.top = 0;
    page.setChat(null);
    page.setChat({ id: 'c', messages: [answer({ content: 'Text' })] });
});

describe('the end of the transcript', () => {
    it('is offered without words from far up when nothing is new', () => {
        scrollTo(1400);
        assert.ok(button.hidden, 'a little way up needs no button');
        scrollTo(200);
        assert.ok(!button.hidden);
        assert.equal(button.dataset['label'], '');
        assert.equal(button.getAttribute('aria-label'), 'Scroll to the end');
    });

    it('lets go at the first movement upwards, however small, and before an update can undo it', () => {
        scrollTo(1495);
        grow(100);
        assert.equal(view.top, 1495);
        page.window.teskal['scrollToBottom']!();
        page.window.dispatchEvent(new page.window.WheelEvent('wheel', { deltaY: -1 }));
        grow(100);
        assert.equal(view.top, 1600);
        page.window.teskal['scrollToBottom']!();
        page.window.dispatchEvent(new page.window.KeyboardEvent('keydown', { key: 'PageUp' }));
        grow(100);
        assert.equal(view.top, 1700);
    });
});
