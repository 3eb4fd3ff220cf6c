import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import * as tables from 'entities';
import { createMarkdown } from '../../src/transcript/renderer/markdown/markdown';
import { Sanitizer } from '../../src/transcript/renderer/markdown/sanitizer';
import type { Services } from '../../src/transcript/renderer/page/services';
import { documents, generated, random } from './corpus';
import { openPage } from './page';

const page = await openPage();
const { AnswerText } = await import('../../src/transcript/renderer/message/answerText');
const { decodeHTML, decodeHTMLStrict } = await import('../../src/transcript/renderer/markdown/entityDecoder');

const markdown = createMarkdown();
const sanitizer = new Sanitizer(window as never);

/** What finished blocks were handed on for. */
const coloured = new Map<Element, number>();
/** How many links each block had when it was last handed on for its cards. */
const offered = new Map<Element, number>();
const count = (map: Map<Element, number>, node: Element) => map.set(node, (map.get(node) ?? 0) + 1);

function answer() {
    return new AnswerText({
        markdown,
        sanitizer,
        port: { post: () => {} },
        outOfSight: { watch: () => {}, setAside: () => {} },
        linkCards: { offer: (block: HTMLElement) => offered.set(block, block.querySelectorAll('a').length) },
        enhancer: {
            highlight: (code: HTMLElement) => count(coloured, code),
            drawFormulas: (root: HTMLElement) => root.querySelectorAll('.math[data-tex]').forEach((formula) => formula.replaceChildren('drawn')),
            drawOpenFormula: (formula: HTMLElement) => formula.replaceChildren(`drawn ${formula.dataset['openTex']}`),
            closeOpenFormula: () => {},
        },
    } as unknown as Services);
}

function whole(text: string, complete: boolean): HTMLElement {
    const made = answer();
    made.update(text, complete);
    return made.node;
}

/** Grows an answer through the given lengths, with a caret behind it as in the page; now and then it is told what is new. */
function assertGrows(text: string, cuts: number[]): void {
    const growing = answer();
    const caret = document.createElement('span');
    caret.className = 'caret';
    let before = 0;
    for (const [index, cut] of [...cuts, text.length, Infinity].entries()) {
        const part = text.slice(0, cut);
        growing.update(part, cut === Infinity, index % 3 ? text.slice(before, cut) : undefined);
        before = cut;
        const expected = whole(part, cut === Infinity);
        caret.remove();
        assert.ok(growing.node.isEqualNode(expected), `cuts ${JSON.stringify(cuts)}, at ${cut} of ${JSON.stringify(text)}:\n${growing.node.innerHTML}\nbut whole\n${expected.innerHTML}`);
        if (cut !== Infinity) growing.caretPlace().append(caret);
    }
    for (const code of growing.node.querySelectorAll('code[data-language]')) {
        if (code.closest('.code') && code.querySelector('.lines')) assert.equal(coloured.get(code), 1, `${code.textContent} coloured`);
    }
    for (const block of growing.node.querySelectorAll('.block')) {
        const links = block.firstElementChild!.tagName === 'P' ? block.querySelectorAll('a').length : offered.get(block);
        assert.ok(offered.has(block) && offered.get(block) === links, `${block.innerHTML} offered`);
    }
}

describe('an answer', () => {
    for (const [name, text] of Object.entries(documents)) {
        it(`equals the whole, however it grew: ${name}`, () => {
            for (let seed = 1; seed <= 2; seed += 1) {
                const next = random(seed);
                const rate = text.length > 600 ? 0.01 : 0.25;
                assertGrows(text, Array.from({ length: text.length }, (_, index) => index).filter(() => next() < rate));
            }
        });
    }

    it('equals the whole, however it grew: generated', () => {
        for (let seed = 1; seed <= 80; seed += 1) {
            const text = generated(seed);
            const next = random(seed + 1_000_000);
            assertGrows(text, Array.from({ length: text.length }, (_, index) => index).filter(() => next() < 0.1));
        }
    });

    it('can become another text', () => {
        const changing = answer();
        for (const text of ['# a\n\n- b\n- c', '- b\n\n[^1]: d\n', '```js\nx\n```\n', '[^1]: e\n\nf\n', '', '| a |\n|---|\n| 1 |']) {
            for (const complete of [false, true]) {
                changing.update(text, complete);
                assert.ok(changing.node.isEqualNode(whole(text, complete)), `${JSON.stringify(text)}: ${changing.node.innerHTML}`);
            }
        }
    });

    const growing: [string, string, string, string][] = [
        ['items', '', '- an *item* of a list\n', 'li'],
        ['inner items', '1. x\n', '   - an *item* of a list\n', 'li li'],
        ['rows', '| a | b |\n|---|---|\n', '| a *cell* | [x] |\n', 'tr'],
        ['lines of code', '```js\n', 'let x = 1;\n', '.lines'],
        ['paragraphs of a quote', '', '> a *paragraph*\n>\n', 'p'],
        ['paragraphs', '', 'a *paragraph*\n\n', 'p'],
    ];
    for (const [name, head, piece, selector] of growing) {
        it(`does not touch finished ${name}`, () => {
            const text = head + piece.repeat(90);
            const grown = answer();
            let before: Element[] = [];
            let html: string[] = [];
            for (let end = 0; end <= text.length; end += 17) {
                grown.update(text.slice(0, end), false);
                const now = [...grown.node.querySelectorAll(selector)];
                before.slice(0, -1).forEach((node, index) => assert.ok(node === now[index] && node.outerHTML === html[index], `${name} ${index} of ${now.length}`));
                before = now;
                html = now.map(({ outerHTML }) => outerHTML);
            }
        });
    }

    it('leads from notes to their texts and back, inside itself', () => {
        const [one, other] = [answer(), answer()];
        for (const { node } of [other, one]) page.find('#transcript').append(node);
        for (const text of [other, one]) text.update('a[^x] b[^y]\n\n[^y]: n\n[^x]: m\n', true);
        Object.assign(window.HTMLElement.prototype, { scrollIntoView: () => {} });
        const [x] = one.node.querySelectorAll<HTMLElement>('.note-reference');
        x!.click();
        const number = document.activeElement as HTMLElement;
        assert.ok(one.node.contains(number));
        assert.equal(number.parentElement!.textContent, '2m');
        number.dispatchEvent(new window.KeyboardEvent('keydown', { key: 'Enter', bubbles: true }));
        assert.equal(document.activeElement, x);
    });
});

describe('character references', () => {
    for (const reference of ['&amp;', '&AMP;', '&notit;', '&nosuch;', '&semi;', '&NotEqualTilde;', '&Auml;', '&aumlx;', '&#65;', '&lt;']) {
        it(`${reference} is what it is elsewhere`, () => {
            assert.equal(decodeHTML(reference), tables.decodeHTML(reference));
            if (!reference.startsWith('&#')) assert.equal(decodeHTMLStrict(reference), tables.decodeHTMLStrict(reference));
        });
    }
});
