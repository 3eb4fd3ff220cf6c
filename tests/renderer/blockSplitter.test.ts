import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { htmlOf } from '../../src/transcript/renderer/markdown/blockTree';
import { BlockSplitter, renderWhole } from '../../src/transcript/renderer/markdown/blockSplitter';
import { createMarkdown } from '../../src/transcript/renderer/markdown/markdown';
import { documents, generated, random } from './corpus';

const md = createMarkdown();

function read(splitter: BlockSplitter, text: string, complete = false): string {
    splitter.update(text, complete);
    return splitter.root.children!.map(htmlOf).join('');
}

function assertSame(text: string, cuts: number[]): void {
    const splitter = new BlockSplitter(md);
    for (const cut of [...cuts, text.length]) {
        const part = text.slice(0, cut);
        assert.equal(read(splitter, part), renderWhole(md, part, false), `cuts ${JSON.stringify(cuts)}, at ${cut} of ${JSON.stringify(text)}`);
    }
    assert.equal(read(splitter, text, true), renderWhole(md, text), `cuts ${JSON.stringify(cuts)}, end of ${JSON.stringify(text)}`);
}

describe('a growing text', () => {
    for (const [name, text] of Object.entries(documents)) {
        it(`equals a full render at every length: ${name}`, () => {
            assertSame(text, Array.from({ length: text.length }, (_, index) => index));
            for (let cut = 0; cut < text.length && text.length < 600; cut += 1) assertSame(text, [cut]);
        });
    }

    it('equals a full render for generated documents, cut anywhere', () => {
        for (let seed = 1; seed <= 1500; seed += 1) {
            const text = generated(seed);
            const next = random(seed + 1_000_000);
            assertSame(text, Array.from({ length: text.length }, (_, index) => index).filter(() => next() < 0.4));
        }
    });
});

describe('finished text', () => {
    const growing: [string, string, string][] = [
        ['paragraphs', '', 'Some words that make a paragraph of ordinary length, with `code` in it.\n\n'],
        ['headings without blank lines', '', '## A heading and the words below it\nSome words right below, and no blank line anywhere.\n'],
        ['definitions', '', 'Some words [a] and a definition for them, over and over again.\n\n[a]: https://a.example\n\n'],
        ['a list', '', '- An item of ordinary length\n'],
        ['a loose list', '', '- An item of ordinary length\n\n'],
        ['a list in a list', '1. x\n', '   - An item of ordinary length\n'],
        ['a table', '| a | b |\n|---|---|\n', '| a cell of ordinary length | b |\n'],
        ['code', '```js\n', 'let something = of(ordinary, length);\n'],
        ['code in a list', '- x\n\n  ```js\n', '  let something = of(ordinary, length);\n'],
        ['a quote', '', '> A quote that goes on and on\n>\n'],
        ['a list in a quote', '', '> - An item of ordinary length\n'],
        ['a note', '[^1]: x\n\n', '    A paragraph of ordinary length\n\n'],
    ];
    for (const [name, head, piece] of growing) {
        it(`is not parsed again: ${name}`, () => {
            const splitter = new BlockSplitter(md);
            for (const count of [1, 2, 400]) splitter.update(head + piece.repeat(count));
            const parsed: number[] = [];
            const parse = md.block.parse.bind(md.block);
            md.block.parse = (source, ...more) => {
                parsed.push(source.length);
                return parse(source, ...more);
            };
            try {
                for (let extra = 1; extra <= 50; extra += 1) splitter.update(head + piece.repeat(400 + extra));
            } finally {
                md.block.parse = parse;
            }
            const most = (name.startsWith('code') ? 34 : 3) * piece.length + 60;
            assert.ok(Math.max(...parsed) <= most, `parsed up to ${Math.max(...parsed)} characters at once`);
        });
    }

    it('is rendered again only for a definition that changes it', () => {
        const splitter = new BlockSplitter(md);
        const text = 'plain\n\n[a] here\n\n- [b] there\n- [^1] too\n\nend\n\n';
        splitter.update(text);
        const cases: [string, RegExp][] = [['[a]: https://a.example\n', /href="https:\/\/a\.example\/"/], ['[^1]: note\n', /data-note="1"/]];
        let whole = text;
        for (const [definition, expected] of cases) {
            whole += definition;
            const { revised } = splitter.update(whole);
            assert.equal(revised.length, 1);
            assert.match(revised[0]!.html, expected);
        }
    });
});
