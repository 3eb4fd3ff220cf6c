import { setLabel } from './dom';
import { icon } from './icons';

/** Milliseconds that a copy button says that it has copied. */
const SHOWN = 1600;

/** Shows on the button itself that its text was copied. */
export function showCopied(button: HTMLButtonElement): void {
    if (button.dataset['copied']) return;
    button.dataset['copied'] = 'true';
    const undo = button.dataset['label'] === undefined ? showTick(button) : showWord(button);
    setTimeout(() => {
        delete button.dataset['copied'];
        undo();
    }, SHOWN);
}

function showWord(button: HTMLButtonElement): () => void {
    const label = button.dataset['label']!;
    setLabel(button, 'Copied');
    return () => setLabel(button, label);
}

function showTick(button: HTMLButtonElement): () => void {
    const picture = [...button.childNodes];
    const name = button.getAttribute('aria-label') ?? '';
    button.replaceChildren(icon('check'));
    button.setAttribute('aria-label', 'Copied');
    return () => {
        button.replaceChildren(...picture);
        button.setAttribute('aria-label', name);
    };
}
