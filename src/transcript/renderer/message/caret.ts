/** Milliseconds per half of a blink. */
const HALF_BLINK = 530;

/**
 * The mark that follows the text while an answer is under way. It blinks by a timer that flips one class:
 * a running style animation would keep the compositor busy all the time. The timer runs only while a
 * caret is shown, the page is visible and motion is welcome.
 */
export class Caret {
    private readonly owners = new Set<object>();
    private readonly stillness = matchMedia('(prefers-reduced-motion: reduce)');
    private timer: ReturnType<typeof setInterval> | undefined;

    constructor(private readonly root: HTMLElement) {
        document.addEventListener('visibilitychange', () => this.adjust());
        this.stillness.addEventListener('change', () => this.adjust());
    }

    show(owner: object): void {
        this.owners.add(owner);
        this.adjust();
    }

    hide(owner: object): void {
        this.owners.delete(owner);
        this.adjust();
    }

    private adjust(): void {
        const blinks = this.owners.size > 0 && !document.hidden && !this.stillness.matches;
        if (blinks === (this.timer !== undefined)) return;
        if (blinks) {
            this.timer = setInterval(() => this.root.classList.toggle('caret-off'), HALF_BLINK);
            return;
        }
        clearInterval(this.timer);
        this.timer = undefined;
        this.root.classList.remove('caret-off');
    }
}
