/** How far outside the window an element may be for its work to be done, unless told otherwise. */
const MARGIN = 1200;

/** Something to be done with an element. */
interface Work {
    element: Element;
    work(): void;
}

/** Puts work on an element off until a reader could soon see it. */
export class NearWindow {
    private fresh: Work[] = [];
    /** Weak: what is removed from the page while it waits takes its whole message along. */
    private waiting = new WeakMap<Element, Work[]>();
    private readonly observer: IntersectionObserver;

    /**
     * @param margin points around the window that count as near
     * @param parts selects what comes near as one: the engine looks at all that is watched in every frame
     */
    constructor(margin = MARGIN, private readonly parts?: string) {
        this.observer = new IntersectionObserver((entries) => {
            for (const { isIntersecting, target } of entries) if (isIntersecting) this.arrived(target);
        }, { rootMargin: `${margin}px 0px` });
    }

    when(element: Element, work: () => void): void {
        // What was drawn just now has yet to be put into its part.
        if (this.fresh.length === 0) queueMicrotask(() => this.watchFresh());
        this.fresh.push({ element, work });
    }

    /** What has not come near yet never will. */
    forgetAll(): void {
        this.observer.disconnect();
        this.fresh = [];
        this.waiting = new WeakMap();
    }

    private watchFresh(): void {
        for (const fresh of this.fresh.splice(0)) {
            const part = (this.parts && fresh.element.closest(this.parts)) || fresh.element;
            const waiting = this.waiting.get(part);
            if (waiting) waiting.push(fresh);
            else this.waiting.set(part, [fresh]);
            this.observer.observe(part);
        }
    }

    private arrived(part: Element): void {
        this.observer.unobserve(part);
        const waiting = this.waiting.get(part);
        this.waiting.delete(part);
        for (const { element, work } of waiting ?? []) if (part.contains(element)) work();
    }
}
