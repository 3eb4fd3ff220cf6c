import { icon } from './icons';

/** Points from the end within which a reader who scrolls down to it counts as being there. */
const NEAR_END = 32;
/** Points from the end beyond which the way back is offered although nothing is new. */
const FAR_FROM_END = 240;
/** Positions are fractions on a scaled screen; less than this is no movement. */
const STILL = 1;
/** Keys that scroll upwards where nothing else takes them. */
const UPWARD_KEYS = new Set(['ArrowUp', 'PageUp', 'Home']);

/**
 * Keeps the end of the transcript in view while the reader is there, and leaves the page alone otherwise.
 * Any move upwards and any selection lets go; reaching the end or pressing the button takes hold again.
 *
 * While the end is followed, the engine's own anchoring is off: the position then changes only by the reader,
 * by this class, or because the page became shorter, which leaves the reader at the end.
 */
export class Follower {
    private following = true;
    private hasNew = false;
    private lastTop = 0;
    private lastHeight = 0;
    /** Something that stands near the end and is not moved by what is added there, and where it stood. */
    private mark: { element: Element; top: number } | undefined;
    private pressed = false;
    private readonly scroller = document.documentElement;

    constructor(private readonly content: HTMLElement, private readonly button: HTMLButtonElement) {
        button.addEventListener('click', () => this.toEnd());
        document.addEventListener('scroll', () => this.scrolled(), { passive: true });
        // The reader's own movements let go at once: by the time of their scroll event, an update that came
        // in between would have taken the reader back.
        window.addEventListener('wheel', ({ deltaY, ctrlKey }) => {
            // With Ctrl it makes everything larger and moves nothing.
            if (deltaY < 0 && !ctrlKey) this.movedUp();
        }, { passive: true });
        window.addEventListener('keydown', (event) => this.keyPressed(event));
        window.addEventListener('pointerdown', () => { this.pressed = true; });
        for (const end of ['pointerup', 'pointercancel']) {
            window.addEventListener(end, () => { this.pressed = false; });
        }
        document.addEventListener('selectionchange', () => this.selectionChanged());
        // Answers that grow, pictures, formulas and a narrower window change heights. This comes after layout
        // and before the picture, so nobody sees the page jump.
        new ResizeObserver(() => this.keep()).observe(content);
        window.addEventListener('resize', () => this.keep());
        // Sections that come into view take their real size within the frame, and the engine reports that
        // their observers hear of it in the next one. That is as it should be.
        window.addEventListener('error', (event) => {
            if (event.message.startsWith('ResizeObserver loop')) event.preventDefault();
        });
        // Takes the focus that a control which goes away cannot keep.
        content.tabIndex = -1;
        this.follow(true);
    }

    /** Something was added at the end, or has grown there. The view moves with the next picture, once for all that came by then. */
    contentChanged(): void {
        if (this.following || this.hasNew) return;
        this.hasNew = true;
        requestAnimationFrame(() => this.showButton());
    }

    toEnd(): void {
        this.follow(true);
        this.scrollToEnd();
        this.showButton();
    }

    /** Makes a change above what the reader sees, which stays where it is. */
    keepPlace(change: () => void): void {
        if (this.following) {
            change();
            return;
        }
        const below = this.scroller.scrollHeight - this.scroller.scrollTop;
        change();
        this.scroller.scrollTop = this.scroller.scrollHeight - below;
        this.lastTop = this.scroller.scrollTop;
    }

    private follow(following: boolean): void {
        this.following = following;
        if (following) this.hasNew = false;
        this.scroller.classList.toggle('following', following);
    }

    private keep(): void {
        this.noticeMove();
        if (this.following) this.scrollToEnd();
        this.showButton();
    }

    private scrollToEnd(): void {
        this.lastHeight = this.scroller.scrollHeight;
        this.scroller.scrollTop = this.lastHeight;
        this.lastTop = this.scroller.scrollTop;
        const element = lastBlock(this.content);
        this.mark = { element, top: element.getBoundingClientRect().top };
    }

    private scrolled(): void {
        const movedDown = this.scroller.scrollTop > this.lastTop + STILL;
        this.noticeMove();
        const selects = this.pressed && this.isSelecting();
        if (movedDown && this.distance() <= NEAR_END && !selects) this.follow(true);
        this.lastTop = this.scroller.scrollTop;
        this.showButton();
    }

    /** A position above the one that was left here, and not at the end, is the reader's doing. */
    private noticeMove(): void {
        if (!this.following) return;
        const way = this.lastTop - this.scroller.scrollTop;
        if (way > STILL && this.distance() > STILL && this.hasTextMoved(way)) this.follow(false);
    }

    /**
     * Whether the text came down by so much when the position went up. When the page became shorter somewhere,
     * which alone leaves the end in view, and then longer at its end, the text has stayed where it was.
     */
    private hasTextMoved(way: number): boolean {
        if (!this.mark || this.scroller.scrollHeight === this.lastHeight) return true;
        const { element, top } = this.mark;
        return element.isConnected && element.getBoundingClientRect().top - top >= way - STILL;
    }

    private keyPressed(event: KeyboardEvent): void {
        if (event.defaultPrevented || event.target instanceof HTMLMediaElement) return;
        if (UPWARD_KEYS.has(event.key) || (event.key === ' ' && event.shiftKey)) this.movedUp();
    }

    private movedUp(): void {
        const isCovered = this.scroller.classList.contains('has-lightbox');
        if (this.scroller.scrollTop > 0 && !isCovered) this.follow(false);
    }

    private selectionChanged(): void {
        if (this.isSelecting()) this.follow(false);
        else if (!this.following && this.distance() <= STILL) this.follow(true);
    }

    private isSelecting(): boolean {
        const selection = getSelection();
        return selection !== null && !selection.isCollapsed && selection.getRangeAt(0).intersectsNode(this.content);
    }

    private distance(): number {
        return this.scroller.scrollHeight - this.scroller.clientHeight - this.scroller.scrollTop;
    }

    private showButton(): void {
        const distance = this.distance();
        const shown = distance > (this.hasNew ? NEAR_END : FAR_FROM_END);
        const state = shown ? (this.hasNew ? 'new' : 'far') : '';
        if (this.button.dataset['state'] === state) return;
        this.button.dataset['state'] = state;
        if (!shown && document.activeElement === this.button) this.content.focus({ preventScroll: true });
        this.button.hidden = !shown;
        this.button.replaceChildren(icon('chevronDown'));
        // Drawn by the style sheet, so that a search in the transcript does not find it.
        this.button.dataset['label'] = this.hasNew ? 'New below' : '';
        this.button.setAttribute('aria-label', this.hasNew ? 'New below' : 'Scroll to the end');
    }
}

/** The last block of the last text, found through what blocks stand in. */
function lastBlock(content: Element): Element {
    let found = content;
    for (;;) {
        let last = found.lastElementChild;
        while (last && !last.matches(BLOCKS)) last = last.previousElementSibling;
        if (!last) return found;
        found = last;
    }
}

/** What blocks stand in, and blocks; not the line below an answer, which goes down as its text grows. */
const BLOCKS = 'div:not(.route), section, article, blockquote, ul, ol, li, table, tbody, tr, p, pre';
