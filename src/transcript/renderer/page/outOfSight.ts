/** Points outside the window from which on nothing is seen of an element before it is laid out again. */
const MARGIN = 400;

/**
 * Spares the engine the layout of what is outside the window. It leaves out the picture of an element for a
 * frame when it is told to, so what has been seen is set aside only once it is out of sight. It then keeps the
 * size that it had last, and what has not been seen has that of the style sheet.
 */
export class OutOfSight {
    private readonly observer = new IntersectionObserver((entries) => {
        for (const { isIntersecting, target } of entries) {
            if (isIntersecting) continue;
            this.observer.unobserve(target);
            if (target.isConnected) this.setAside(target);
        }
    }, { rootMargin: `${MARGIN}px 0px` });

    /** Sets an element aside when it leaves the window. */
    watch(element: Element): void {
        this.observer.observe(element);
    }

    /** Sets an element aside that has not been seen. */
    setAside(element: Element): void {
        element.classList.add('aside');
    }

    /** The element may change from now on. */
    takeBack(element: Element): void {
        this.observer.unobserve(element);
        element.classList.remove('aside');
    }
}
