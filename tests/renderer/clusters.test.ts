import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { answer, openPage, user } from './page';

const page = await openPage();

describe('piles of marks', () => {
    const pile = `a${'\u0301'.repeat(40)}`;
    const families = '👨\u200d'.repeat(40);
    const cuts = (node: HTMLElement) => node.querySelectorAll('.cut').length;

    it('are cut in answers wherever they stand, and the text stays', () => {
        const content = `# ${pile}\n\n${families} [${pile}](https://e.example/${pile})\n\n\`\`\`\n${pile}\n\`\`\`\n`;
        page.setChat({ id: 'c', messages: [answer({ content })] });
        const text = page.find('.answer-text');
        assert.ok(cuts(page.find('h1')) === 2 && cuts(page.find('.answer-text a')) === 2 && cuts(page.find('pre')) === 2);
        assert.equal(text.querySelectorAll('[title*="span"], [href*="span"]').length, 0);
        assert.equal(page.find('h1').textContent, pile);
        assert.ok(text.textContent!.includes(families));
    });

    it('are cut in questions, which say the same', () => {
        for (const content of [pile, families, 'a\r\nb\r'.repeat(2000)]) {
            page.setChat({ id: content, messages: [user('q', content)] });
            assert.equal(page.find('.bubble').textContent, content);
            assert.equal(cuts(page.find('.bubble')), content.startsWith('a\r') ? 0 : 2);
        }
    });

    it('leave what people write alone', () => {
        const content = `${'👨‍👩‍👧‍👦 🏳️‍🌈 👍🏽 é ก็ '.repeat(40)}${'क्षत्रिय '.repeat(100)}${'漢字'.repeat(500)}`;
        page.setChat({ id: 'plain', messages: [user('q', content), answer({ content })] });
        assert.equal(page.all('.cut').length, 0);
        assert.ok(page.all('.part').length <= 1);
    });
});
