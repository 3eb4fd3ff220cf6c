import { icon } from './icons';

/** Milliseconds that a copy button shows its tick. */
const SHOWN = 1600;

/** Shows on the button itself that its text was copied. */
export function showCopied(button: HTMLButtonElement): void {
    if (button.dataset['copied']) return;
    button.dataset['copied'] = 'true';
    const before = [...button.childNodes];
    const hasText = before.some((node) => node instanceof Text);
    button.replaceChildren(hasText ? 'Copied' : icon('check'));
    setTimeout(() => {
        delete button.dataset['copied'];
        button.replaceChildren(...before);
    }, SHOWN);
}
