import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { htmlOf } from '../../src/transcript/renderer/markdown/blockTree';
import { BlockSplitter, renderWhole } from '../../src/transcript/renderer/markdown/blockSplitter';
import { createMarkdown } from '../../src/transcript/renderer/markdown/markdown';
import { documents, generated, random } from './corpus';

const md = createMarkdown();

function read(splitter: BlockSplitter, text: string): string {
    splitter.update(text);
    return splitter.root.children!.map(htmlOf).join('');
}

function assertSame(text: string, cuts: number[]): void {
    const splitter = new BlockSplitter(md);
    for (const cut of [...cuts, text.length]) {
        const part = text.slice(0, cut);
        assert.equal(read(splitter, part), renderWhole(md, part), `cuts ${JSON.stringify(cuts)}, at ${cut} of ${JSON.stringify(text)}`);
    }
}

describe('a growing text', () => {
    for (const [name, text] of Object.entries(documents)) {
        it(`equals a full render at every length: ${name}`, () => {
            assertSame(text, Array.from({ length: text.length }, (_, index) => index));
            for (let cut = 0; cut < text.length; cut += 1) assertSame(text, [cut]);
        });
    }

    it('equals a full render for all documents one after another, cut anywhere', () => {
        const whole = Object.values(documents).join('\n\n');
        for (let seed = 1; seed <= 12; seed += 1) {
            const next = random(seed);
            const cuts = Array.from({ length: 60 }, () => Math.floor(next() * whole.length)).sort((a, b) => a - b);
            assertSame(whole, cuts);
        }
    });

    it('equals a full render for generated documents, cut anywhere', () => {
        for (let seed = 1; seed <= 1500; seed += 1) {
            const text = generated(seed);
            const next = random(seed + 1_000_000);
            assertSame(text, Array.from({ length: text.length }, (_, index) => index).filter(() => next() < 0.4));
        }
    });

    it('starts over when the text is another one', () => {
        const splitter = new BlockSplitter(md);
        for (const text of ['# One\n\ntwo\n\nthree', '# One\n\nother\n\nthree', '', 'new']) {
            assert.equal(read(splitter, text), renderWhole(md, text));
        }
    });
});
