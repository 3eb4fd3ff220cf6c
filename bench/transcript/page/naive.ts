/** The common way to show an answer that grows: with every update all of it is parsed, cleaned and drawn. */
import DOMPurify from 'dompurify';
import hljs from 'highlight.js/lib/common';
import katexStyles from 'katex/dist/katex.min.css';
import drawFormulas from 'katex/contrib/auto-render';
import MarkdownIt from 'markdown-it';

const markdown = new MarkdownIt({ linkify: true });
const formulas = {
    delimiters: [{ left: '$$', right: '$$', display: true }, { left: '$', right: '$', display: false }],
    throwOnError: false,
};

function show(target: HTMLElement, text: string): void {
    target.innerHTML = DOMPurify.sanitize(markdown.render(text));
    for (const code of target.querySelectorAll<HTMLElement>('pre code')) hljs.highlightElement(code);
    drawFormulas(target, formulas);
}

const naive = {
    /** Milliseconds of script and layout for each of some updates of a text that grows to all of `text`. */
    async stream(text: string, updates: number, piece: number): Promise<number[]> {
        const target = document.body.appendChild(document.createElement('main'));
        const times: number[] = [];
        for (let left = updates - 1; left >= 0; left -= 1) {
            await new Promise((resolve) => setTimeout(resolve));
            const begin = performance.now();
            show(target, text.slice(0, text.length - left * piece));
            target.getBoundingClientRect();
            times.push(performance.now() - begin);
        }
        return times;
    },
};

// Without its fonts, which nobody serves here.
const styles = katexStyles.replace(/@font-face\{[^}]*\}/g, '');
document.head.appendChild(document.createElement('style')).textContent = styles;
Object.assign(window, { naive });
