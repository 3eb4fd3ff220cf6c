import type { Announcer } from './announcer';
import { icon } from './icons';

/** Milliseconds that a copy button says that it has copied. */
const SHOWN = 1600;

/** Shows on the button itself that its text was copied, and says so. The button keeps its name. */
export function showCopied(button: HTMLButtonElement, announcer: Announcer): void {
    announcer.say('Copied.');
    if (button.dataset['copied']) return;
    button.dataset['copied'] = 'true';
    const undo = button.dataset['label'] === undefined ? showTick(button) : showWord(button);
    setTimeout(() => {
        delete button.dataset['copied'];
        undo();
    }, SHOWN);
}

function showWord({ dataset }: HTMLButtonElement): () => void {
    const word = dataset['label']!;
    dataset['label'] = 'Copied';
    return () => {
        dataset['label'] = word;
    };
}

function showTick(button: HTMLButtonElement): () => void {
    const picture = [...button.childNodes];
    button.replaceChildren(icon('check'));
    return () => button.replaceChildren(...picture);
}
