import { showCopied } from '../page/copyFeedback';
import { element, textButton } from '../page/dom';
import type { Services } from '../page/services';

/** Puts a code block into its frame: the language above on the left, the copy button on the right. */
export function frameCode(pre: HTMLElement, { port, announcer }: Services): HTMLElement {
    const code = pre.querySelector('code')!;
    const copy = textButton('code-copy', 'Copy', () => {
        port.post({ type: 'copy', text: (code.textContent ?? '').replace(/\n$/, '') });
        showCopied(copy, announcer);
    });
    copy.setAttribute('aria-label', 'Copy code');
    const language = code.dataset['language'] ?? '';
    const frame = element('div', 'code',
        element('div', 'code-head', element('span', 'code-language', language || 'text'), copy));
    pre.setAttribute('role', 'group');
    pre.setAttribute('aria-label', language ? `Code, ${language}` : 'Code');
    pre.replaceWith(frame);
    frame.append(pre);
    return frame;
}
