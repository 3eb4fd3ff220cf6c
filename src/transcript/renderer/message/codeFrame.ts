import { showCopied } from '../page/copyFeedback';
import { element, textButton } from '../page/dom';
import type { HostPort } from '../page/hostPort';

/** Puts a code block into its frame: the language above on the left, the copy button on the right. */
export function frameCode(pre: HTMLElement, port: HostPort): HTMLElement {
    const code = pre.querySelector('code')!;
    const copy = textButton('code-copy', 'Copy', () => {
        port.post({ type: 'copy', text: (code.textContent ?? '').replace(/\n$/, '') });
        showCopied(copy);
    });
    const language = code.dataset['language'] ?? '';
    const frame = element('div', 'code',
        element('div', 'code-head', element('span', 'code-language', language || 'text'), copy));
    // A long line scrolls inside the frame, which the keyboard must be able to reach.
    pre.tabIndex = 0;
    pre.setAttribute('role', 'region');
    pre.setAttribute('aria-label', language ? `Code, ${language}` : 'Code');
    pre.replaceWith(frame);
    frame.append(pre);
    return frame;
}
