/** Milliseconds. Frames stop while the page is hidden; work that waits for one goes on without it. */
const LONGEST_WAIT = 200;

/** Resolves once what is in the document now has been painted, or shortly after when it can not be. */
export function afterPaint(): Promise<void> {
    return new Promise((resolve) => {
        // The first frame hands the picture over; by the second one it is on the screen.
        requestAnimationFrame(() => requestAnimationFrame(() => setTimeout(resolve)));
        setTimeout(resolve, LONGEST_WAIT);
    });
}
