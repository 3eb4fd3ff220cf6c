import { icon } from './icons';

/** Points from the end within which the reader counts as being there. */
const NEAR_END = 32;
/** Points from the end beyond which the way back is offered although nothing is new. */
const FAR_FROM_END = 240;

/**
 * Keeps the end of the transcript in view while the reader is there, and leaves the page alone otherwise:
 * scrolling up or selecting text stops it, reaching the end or pressing the button starts it again.
 */
export class Follower {
    private following = true;
    private hasNew = false;
    private lastTop = 0;
    private readonly scroller = document.documentElement;

    constructor(private readonly content: HTMLElement, private readonly button: HTMLButtonElement) {
        button.addEventListener('click', () => this.toEnd());
        document.addEventListener('scroll', () => this.scrolled(), { passive: true });
        // Pictures, formulas and a narrower window change heights without a word from the host. The answer
        // comes a frame later, because scrolling changes sizes again.
        new ResizeObserver(() => requestAnimationFrame(() => this.keep())).observe(content);
        window.addEventListener('resize', () => this.keep());
        // Sections that come into view take their real size within the frame, and the engine reports that
        // their observers hear of it in the next one. That is as it should be.
        window.addEventListener('error', (event) => {
            if (event.message.startsWith('ResizeObserver loop')) event.preventDefault();
        });
    }

    /** Something was added or has grown. */
    contentChanged(): void {
        if (!this.following) this.hasNew = true;
        this.keep();
    }

    toEnd(): void {
        this.following = true;
        this.hasNew = false;
        this.scrollToEnd();
        this.showButton();
    }

    /** Makes a change above what the reader sees, which stays where it is. */
    keepPlace(change: () => void): void {
        const below = this.scroller.scrollHeight - this.scroller.scrollTop;
        change();
        this.scroller.scrollTop = this.scroller.scrollHeight - below;
        this.lastTop = this.scroller.scrollTop;
    }

    private keep(): void {
        if (this.following && !this.isSelecting()) this.scrollToEnd();
        this.showButton();
    }

    private scrollToEnd(): void {
        this.scroller.scrollTop = this.scroller.scrollHeight;
        this.lastTop = this.scroller.scrollTop;
    }

    private scrolled(): void {
        const top = this.scroller.scrollTop;
        if (this.distance() <= NEAR_END) {
            this.following = true;
            this.hasNew = false;
        } else if (top < this.lastTop) {
            this.following = false;
        }
        this.lastTop = top;
        this.showButton();
    }

    private distance(): number {
        return this.scroller.scrollHeight - this.scroller.clientHeight - this.scroller.scrollTop;
    }

    private isSelecting(): boolean {
        const selection = getSelection();
        return selection !== null && !selection.isCollapsed && this.content.contains(selection.anchorNode);
    }

    private showButton(): void {
        const distance = this.distance();
        const shown = distance > (this.hasNew ? NEAR_END : FAR_FROM_END);
        const state = shown ? (this.hasNew ? 'new' : 'far') : '';
        if (this.button.dataset['state'] === state) return;
        this.button.dataset['state'] = state;
        this.button.hidden = !shown;
        this.button.replaceChildren(icon('chevronDown'), ...(this.hasNew ? ['New below'] : []));
        this.button.setAttribute('aria-label', this.hasNew ? 'New below' : 'Scroll to the end');
    }
}
