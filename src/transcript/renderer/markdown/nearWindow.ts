/** How far outside the window an element may be for its work to be done. */
const MARGIN = '1200px 0px';

/** Puts work on an element off until a reader could soon see it. */
export class NearWindow {
    private readonly waiting = new WeakMap<Element, () => void>();
    private readonly observer = new IntersectionObserver((entries) => {
        for (const { isIntersecting, target } of entries) if (isIntersecting) this.arrived(target);
    }, { rootMargin: MARGIN });

    when(element: Element, work: () => void): void {
        this.waiting.set(element, work);
        this.observer.observe(element);
    }

    private arrived(element: Element): void {
        this.observer.unobserve(element);
        this.waiting.get(element)?.();
        this.waiting.delete(element);
    }
}
