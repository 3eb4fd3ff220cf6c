// Markdown whose blocks are easy to get wrong when the text is cut anywhere.

function lines(count: number, line: (index: number) => string): string {
    return Array.from({ length: count }, (_, index) => line(index)).join('');
}

export const documents: Record<string, string> = {
    paragraphs: 'First paragraph\nof two lines.\n\nSecond.\n\n\nThird with *emphasis* and `code`.\n',
    headings: '# One\ntext\nTwo\n===\nThree\n---\n## Four ##\ntext\n- - -\n---\n',
    tightAndLoose: '- a\n- b\n\n- c\n  - d\n\n    e\n- f\n\n\n1. one\n2. two\n\npara\n2. not a list\n* x\n+ y\n',
    numbered: '3. three\n4. four\n   more\n\n   ```js\n   code\n   ```\n5. five\nlazy\n\nend\n',
    tasks: '- [ ] open\n- [x] done\n  - [X] nested\n- [x]\n- [y] none\n\n[ ] no list\n',
    quotes: '> a\nlazy\n> - b\n>\n> c\n\n> d\n---\n> # e\n>> f\n',
    fences: 'text\n```cpp\nint a;\n\n# no heading\n- no list\n```\nafter\n~~~~\n```\n~~~\n~~~~\n```\nx\n```\n- ```\n  in a list\n\n  y\n  ```\n\nend\n',
    indented: 'para\n    lazy\n\n    code\n\n\n    more\n\ttab\nend\n',
    table: 'intro\n| a | b |\n|---|--:|\n| 1 | `2|3` |\n| 4 |\nafter?\n\na | b\n--|-x\n\nx | y\n:-:|-\n1|2\n> q\n',
    delimiterRow: 'line\na | b\n---|---x\n\nline\na | b\n---|---\n',
    references: 'See [late] and [early][].\n\n[early]: https://early.example "t"\n\n- in [late]\n- [missing]\n\n> [late]\n\n[late]: https://late.example\n\n[late]: https://second.example\n\n[early] again\n',
    referenceTitles: 'x\n\n[a]: https://a.example\n"begun\nin two lines"\n\n[a]\n\n[b]: https://b.example\n\'not\n\nclosed\n\n[b] [a]\n\n[c]: https://c.example\n"x" y\n\n[c]\n',
    referenceBeforeText: 'p [a] [b]\n\n[a]: https://a.example\n[b]: https://b.example\ntext [a]\n# h [b]\n',
    referenceNames: '[__proto__] [constructor]\n\n[toString]: https://x.example\n\n[__proto__]: https://y.example\n\n[toString]\n',
    mathBlocks: 'text\n$$\na+b\n$$\nmore\n\n$$x^2$$\n\n$$x$$ in a line\n\n\\[\ny\n\n# heading\n\n$$\nopen\n- a\n\nend $$\n',
    mathInline: 'a $x_1$ b $5 and $6, \\(y\\) \\[z\\] $$w$$ `$c$` \\$d$ $ e$ $f $ $g$1\n\n> $$\n> q\n> $$\n\n- $$\n  l\n  $$\n- m\n',
    openMath: 'a $x^2 + y^2$ b \\(a+b\\) c $$w^2$$ \\[z\\] d $q = 1\n- $r_1\n\n> e $s^2\n> + 1$ $5 and $t = 6\n\n# $u^2\n| $v^2 | $w^2$ |\n|---|---|\n| \\(x | $$y^2 |\n\n[a $x^2](https://a.example) `$z^2` $x^2\n',
    markup: '<b>no</b>\n<div>\n\n<script>alert(1)</script>\n\n<!-- c -->\n&amp; &copy; &#0; &lt;\n',
    links: 'https://a.example/x_(y). mail@a.example www.b.example main.rs [x](javascript:alert(1)) ![i](https://c.example/p.png) [![i](https://d.example/q.png)](https://e.example)\n',
    lineEnds: 'a\r\nb\r\rc\n\r\n- d\r\n- e\r\0f\n',
    breaks: 'a  \nb\\\nc\n***\n* * *\n_x_\n\\# y\n',
    blank: '\n\n  \n\t\n',
    openEverything: '**a `b [c](d ![e\n\n> - 1. ```\n> x\n',
    unicode: 'Ünïcödé 🙂 ﷽ \u2028 x\u00a0\n\n漢字\n\n\u0085y\n',
    notes: 'One[^1] and two[^two], none[^x] [^1](y)\n\n[^1]: First *note*\nlazy\n[^two]: Second\n\n    more of it\n\n    - list\n    - [^1]\n\nText[^late] [a]\n\n- [^1]: no note in a list\n\n[^1]: again\n[^late]:\n    ```\n    code\n\n    ```\n[^two]\n\n[a]: https://a.example\n[^y]: # h\n',
    nested: '- a\n  - b\n    - c\n\n      d\n      > e\n      > - f\n      > - g\n  - h\n\n    | a |\n    |---|\n    | 1 |\n    | 2 |\n1. x\n   1. y\n   2. z\n      $$\n      m\n      $$\n\n   p\n2. > q\n   > r\n\n   > s\nlazy\n',
    emptyItems: '-\n- a\n-\n\n  b\n-\n  c\n- d\n1.\n\n2. e\n   -\n   - f\n-     code\n\n      more\n-\tx\n\ty\n- - - z\n    - w\n',
    lateLoose: '- a\n- b\n- c\n\n- d\n  - e\n  - f\n\n  g\n',
    longList: `${lines(70, (n) => `- item ${n}\n`)}\n  more\n${lines(70, (n) => `  ${n}. inner [a]\n`)}- end\n\n[a]: https://a.example\n`,
    longTable: `| a | b |\n|---|:-:|\n${lines(140, (n) => `| ${n} | [a] |\n`)}> q\n`,
    longFence: `1. x\n\n   \`\`\`js\n${lines(100, (n) => n % 9 ? `   let x${n};\n` : '\n')}   \`\`\`\n\n2. y\n`,
    longQuote: `> a\n>\n> - b\n${lines(40, (n) => `>   ${n}\n>\n`)}> \`\`\`\n${lines(40, (n) => `> ${n}\n`)}lazy\n`,
    longParagraph: `${lines(90, (n) => `word **strong ${n}** [a] and more words of ${n}.${n % 3 ? ' ' : '\n'}`)}${'x'.repeat(2100)} ${lines(400, () => 'e\u0301')}\n${'- '.repeat(2)}${'word '.repeat(1300)}\n\n[a]: https://a.example\n`,
    directions: '\u05e9\u05dc\u05d5\u05dd! a\n\n# `a` \u05e9\n\n- 1 *\u05e9*\n- a\n\n| \u05e9 | a |\n|--:|---|\n| a | [\u05e9][] |\n\n[\u05e9]: https://a.example\n',
    openFence: 'a\n```\nnever closed\n\n- a\n\n# b\n\n[a]: https://a.example\n',
};

/** A small generator of pseudo-random numbers (mulberry32), so that a failure can be repeated by its seed. */
export function random(seed: number): () => number {
    let state = seed >>> 0;
    return () => {
        state = (state + 0x6D2B79F5) >>> 0;
        let t = Math.imul(state ^ (state >>> 15), 1 | state);
        t = (t + Math.imul(t ^ (t >>> 7), 61 | t)) ^ t;
        return ((t ^ (t >>> 14)) >>> 0) / 4294967296;
    };
}

const PIECES = [
    'word ', 'two words', '\n', '\n', '\n', '\n\n', '\n\n', '  ', '    ', '\t', '- ', '* ', '1. ', '7) ', '> ', '# ', '### ',
    '```', '```js\n', '~~~', '---', '===', '| a | b |', '|---|---|', 'a | b', '-|-', '$$', '$x$', '$x^2', '\\(', ' $5', '\\[', '\\]', '[a]',
    '[a]: https://a.example', '[b][]', '[b]: https://b.example "t"', '"open title', '*em*', '**', '`', '[x] ', '[ ] ', '<b>',
    '![i](https://i.example)', '\\', '&amp;', ':', '\r\n', '[^1]', '[^1]: ', '[^b]: note', '| 1 | 2 |\n', '- [ ] a\n', '\n  ', '\n> ', '\n    ',
];

/** A document that mixes everything, more hostile than what anybody writes. */
export function generated(seed: number): string {
    const next = random(seed);
    const length = 3 + Math.floor(next() * 40);
    return Array.from({ length }, () => PIECES[Math.floor(next() * PIECES.length)]).join('');
}
