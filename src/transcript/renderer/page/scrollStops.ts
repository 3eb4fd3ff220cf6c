/** What scrolls inside itself where it is wider than its place. */
const SCROLLERS = '.code pre, .table, .math-display';

/**
 * Lets the keyboard stop at what is wider than its place, to scroll it, and at nothing that has nothing to
 * scroll. This is looked at when the keyboard is about to move on, and near the window only: the rest of the
 * page is not laid out, and stays so.
 */
export function offerScrollStops(container: HTMLElement): void {
    document.addEventListener('keydown', ({ key }) => {
        if (key === 'Tab') for (const part of partsNearWindow(container)) offerStops(part);
    }, true);
}

function partsNearWindow(container: HTMLElement): Element[] {
    const boxes = [...container.querySelectorAll('.messages:not([hidden]) > *')].filter(isNear);
    const messages = boxes.flatMap((box) => box.matches('.batch') ? [...box.children].filter(isNear) : box);
    return messages.flatMap((message) => [...message.querySelectorAll('.answer-text > *')]).filter(isNear);
}

function isNear(element: Element): boolean {
    const { top, bottom } = element.getBoundingClientRect();
    return bottom > -window.innerHeight && top < 2 * window.innerHeight;
}

function offerStops(part: Element): void {
    for (const scroller of part.querySelectorAll<HTMLElement>(SCROLLERS)) {
        if (scroller.scrollWidth > scroller.clientWidth) makeStop(scroller);
        else if (scroller !== document.activeElement) scroller.removeAttribute('tabindex');
    }
}

function makeStop(scroller: HTMLElement): void {
    scroller.tabIndex = 0;
    scroller.setAttribute('role', 'group');
    if (!scroller.hasAttribute('aria-label')) scroller.setAttribute('aria-label', 'Formula');
}
