import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { BlockSplitter, renderWhole, type Block } from '../../src/transcript/renderer/markdown/blockSplitter';
import { createMarkdown } from '../../src/transcript/renderer/markdown/markdown';
import { documents, generated, random } from './corpus';

const md = createMarkdown();

/** Applies updates the way a view does and remembers what it was told is finished. */
class Reader {
    readonly splitter = new BlockSplitter(md);
    blocks: Block[] = [];
    finished: string[] = [];

    read(text: string): string {
        const { from, blocks, revised, finished } = this.splitter.update(text);
        for (const { index, block } of revised) this.blocks[index] = block;
        this.blocks = [...this.blocks.slice(0, from), ...blocks];
        this.finished = this.blocks.slice(0, finished).map(({ html }) => html);
        return this.blocks.map(({ html }) => html).join('');
    }
}

function assertSame(text: string, cuts: number[]): void {
    const reader = new Reader();
    for (const cut of [...cuts, text.length]) {
        const part = text.slice(0, cut);
        assert.equal(reader.read(part), renderWhole(md, part), `cuts ${JSON.stringify(cuts)}, at ${cut} of ${JSON.stringify(text)}`);
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
        const reader = new Reader();
        for (const text of ['# One\n\ntwo\n\nthree', '# One\n\nother\n\nthree', '', 'new']) {
            assert.equal(reader.read(text), renderWhole(md, text));
        }
    });
});

describe('finished blocks', () => {
    it('are never touched again while text without definitions grows', () => {
        const text = Object.entries(documents).filter(([name]) => !name.startsWith('reference')).map(([, doc]) => doc).join('\n\n');
        const reader = new Reader();
        let before: string[] = [];
        for (let end = 0; end <= text.length; end += 3) {
            reader.read(text.slice(0, end));
            assert.deepEqual(reader.finished.slice(0, before.length), before);
            before = reader.finished;
        }
        assert.ok(before.length > 40, `only ${before.length} blocks were ever finished`);
    });

    const repeated: [string, string][] = [
        ['separated by blank lines', 'Some words that make a paragraph of ordinary length, with `code` in it.\n\n'],
        ['right after another', '## A heading and the words below it\nSome words right below, and no blank line anywhere.\n'],
        ['after definitions', 'Some words [a] and a definition for them, over and over again.\n\n[a]: https://a.example\n\n'],
    ];
    for (const [name, piece] of repeated) {
        it(`leave only the tail to be parsed: ${name}`, () => {
            const reader = new Reader();
            reader.read(piece.repeat(400));
            const parsed: number[] = [];
            const parse = md.parse.bind(md);
            md.parse = (source, env) => {
                parsed.push(source.length);
                return parse(source, env);
            };
            try {
                for (let extra = 1; extra <= 50; extra += 1) reader.read(piece.repeat(400 + extra));
            } finally {
                md.parse = parse;
            }
            assert.ok(Math.max(...parsed) <= 3 * piece.length, `parsed up to ${Math.max(...parsed)} characters at once`);
        });
    }

    it('are drawn again only for a definition that changes them', () => {
        const splitter = new BlockSplitter(md);
        splitter.update('plain\n\n[a] here\n\n[b] there\n\nend\n\n');
        const { revised } = splitter.update('plain\n\n[a] here\n\n[b] there\n\nend\n\n[a]: https://a.example\n');
        assert.deepEqual(revised.map(({ index }) => index), [1]);
        assert.match(revised[0]!.block.html, /href="https:\/\/a\.example\/"/);
    });
});
