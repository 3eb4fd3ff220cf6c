/** Points outside the window from which on nothing is seen of an element before it is laid out again. */
const MARGIN = 400;
/** Points outside the window from which on a reader does not come by before the next pictures. */
const FAR = 4000;

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
            if (!target.isConnected) continue;
            this.setAside(target);
            dropBoxes(target);
        }
    }, { rootMargin: `${MARGIN}px 0px` });

    private readonly far = new IntersectionObserver((entries) => {
        for (const { isIntersecting, target } of entries) target.classList.toggle('aside', !isIntersecting);
    }, { rootMargin: `${FAR}px 0px` });

    /** Sets an element aside when it leaves the window. */
    watch(element: Element): void {
        this.observer.observe(element);
    }

    /** Sets an element aside that has not been seen. */
    setAside(element: Element): void {
        element.classList.add('aside');
    }

    /**
     * Sets an element aside while it is far away, which holds others that are set aside: inside of one that is,
     * the engine brings those back only when they are all but seen.
     */
    setAsideWhileFar(element: Element): void {
        element.classList.add('aside');
        this.far.observe(element);
    }

    /** The element may change from now on. */
    takeBack(element: Element): void {
        this.observer.unobserve(element);
        element.classList.remove('aside');
    }
}

/**
 * Has the engine forget the boxes of an element that is set aside. It lays none of them out, but with every
 * layout of the page it comes by those that may cover others, and formulas are full of them. The boxes come
 * back with the element itself.
 */
function dropBoxes(element: Element): void {
    element.classList.add('boxless');
    // Brings the styles up to date, and lays nothing out in between.
    void getComputedStyle(element).display;
    element.classList.remove('boxless');
}
