import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { openPage } from './page';

await openPage();
const { drawFormula } = await import('../../src/transcript/renderer/markdown/formulas');

const nested = (open: string, depth: number, close: string) => `${open.repeat(depth)}x${close.repeat(depth)}`;

describe('formulas', () => {
    const drawn = {
        'a fraction': '\\frac{a}{b}',
        'a continued fraction': nested('1+\\cfrac{1}{', 12, '}'),
        'nested roots and scripts': nested('\\sqrt{2^{', 8, '}}'),
        'a large matrix': `\\begin{pmatrix}${'a & b & c & d & e & f \\\\ '.repeat(30)}\\end{pmatrix}`,
        'own macros': '\\def\\R{\\mathbb{R}}\\newcommand{\\norm}[2]{\\left\\lVert #1 \\right\\rVert_{#2}} \\norm{\\R}{2} \\R',
        'a macro that is a letter': '\\let\\phi\\varphi \\phi \\hat\\imath \\ne \\dots \\tag{1}',
        'macros defined anew in groups': '\\def\\a{x}{\\def\\a{y}\\a}\\a\\gdef\\b{z}\\b\\edef\\c{\\a\\b}\\c',
    };
    for (const [name, tex] of Object.entries(drawn)) {
        it(`draws ${name}`, () => assert.match(drawFormula(tex, true)?.outerHTML ?? '', /katex-html/));
    }

    const refused = {
        'too long a source': 'x'.repeat(5000),
        'roots too deep': nested('\\sqrt{', 100, '}'),
        'what cannot even be read for its depth': nested('{', 1900, '}'),
        'what macros make too deep': `\\def\\a#1{\\sqrt{\\sqrt{\\sqrt{#1}}}}${nested('\\a{', 40, '}')}`,
        'what macros make too long': `\\def\\b{${'x'.repeat(2000)}}${'\\b '.repeat(490)}`,
        'what macros of macros make too long': `\\def\\b{${'x'.repeat(200)}}\\def\\a{${'\\b'.repeat(60)}}${'\\a '.repeat(8)}`,
        'a macro that doubles what it is given': `\\def\\a#1{#1#1}${nested('\\a{', 8, '}')}`,
        'a macro that is renamed and doubles': `\\newcommand\\a[1]{#1#1}\\let\\b\\a${nested('\\b{', 8, '}')}`,
        'a pile of marks': `\\text{a${'\u0301'.repeat(200)}}`,
    };
    for (const [name, tex] of Object.entries(refused)) {
        it(`leaves ${name} as it is written`, () => {
            const began = performance.now();
            assert.equal(drawFormula(tex, false), null);
            assert.ok(performance.now() - began < 500, 'it took too long');
        });
    }
});
