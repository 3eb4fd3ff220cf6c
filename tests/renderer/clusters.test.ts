import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { openPage } from './page';

const page = await openPage();

describe('piles of marks', () => {
    const pile = `a${'\u0301'.repeat(40)}`;
    const families = '👨\u200d'.repeat(40);
    const cuts = (node: HTMLElement) => node.querySelectorAll('.cut').length;

    it('are cut in answers wherever they stand, and the text stays', () => {
        const content = `# ${pile}\n\n${families} [${pile}](https://e.example/${pile})\n\n\`\`\`\n${pile}\n\`\`\`\n`;
        page.setChat({ id: 'c', messages: [{ id: 'm', role: 'assistant', content } as never] });
        const text = page.find('.answer-text');
        assert.ok(cuts(page.find('h1')) === 2 && cuts(page.find('.answer-text a')) === 2 && cuts(page.find('pre')) === 2);
        assert.equal(text.querySelectorAll('[title*="span"], [href*="span"]').length, 0);
        assert.equal(page.find('h1').textContent, pile);
        assert.ok(text.textContent!.includes(families));
    });

    const questions = {
        pile, families, 'piles in lines': `${pile}\n${families}\n`, 'many lines': 'x\n\n'.repeat(3000), 'one long line': 'word '.repeat(2000),
        'line ends': 'a\r\nb\r'.repeat(2000), 'half characters': '\ud83d'.repeat(5000),
    };
    for (const [name, content] of Object.entries(questions)) {
        it(`are cut in questions, which say the same: ${name}`, () => {
            page.setChat({ id: name, messages: [{ id: 'q', role: 'user', content } as never] });
            assert.equal(page.find('.bubble').textContent, content);
            if (content === pile || content === families) assert.equal(cuts(page.find('.bubble')), 2);
        });
    }

    it('leave what people write alone', () => {
        const content = `${'👨‍👩‍👧‍👦 🏳️‍🌈 👍🏽 é ก็ '.repeat(40)}${'क्षत्रिय '.repeat(100)}${'漢字'.repeat(500)}`;
        page.setChat({ id: 'plain', messages: [{ id: 'q', role: 'user', content } as never, { id: 'a', role: 'assistant', content } as never] });
        assert.equal(page.all('.cut').length, 0);
        assert.ok(page.all('.part').length <= 1);
    });
});
