/** How far outside the window an element may be for its work to be done, unless told otherwise. */
const MARGIN = 1200;

/** Puts work on an element off until a reader could soon see it. */
export class NearWindow {
    /** Weak: what is removed from the page while it waits takes its whole message along. */
    private waiting = new WeakMap<Element, () => void>();
    private readonly observer: IntersectionObserver;

    /** @param margin points around the window that count as near */
    constructor(margin = MARGIN) {
        this.observer = new IntersectionObserver((entries) => {
            for (const { isIntersecting, target } of entries) if (isIntersecting) this.arrived(target);
        }, { rootMargin: `${margin}px 0px` });
    }

    when(element: Element, work: () => void): void {
        this.waiting.set(element, work);
        this.observer.observe(element);
    }

    /** What has not come near yet never will. */
    forgetAll(): void {
        this.observer.disconnect();
        this.waiting = new WeakMap();
    }

    private arrived(element: Element): void {
        this.observer.unobserve(element);
        const work = this.waiting.get(element);
        this.waiting.delete(element);
        work?.();
    }
}
