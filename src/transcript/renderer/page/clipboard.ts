import { copyOf } from './selectionCopy';

/** Copying from the transcript gives clean text and clean HTML instead of the page's own markup. */
export function handleCopying(container: HTMLElement): void {
    document.addEventListener('copy', (event) => {
        const selection = getSelection();
        if (!selection || selection.isCollapsed || !event.clipboardData) return;
        const range = selection.getRangeAt(0);
        if (!range.intersectsNode(container)) return;
        const { html, text } = copyOf(range);
        event.clipboardData.setData('text/plain', text);
        event.clipboardData.setData('text/html', html);
        event.preventDefault();
    });
}
