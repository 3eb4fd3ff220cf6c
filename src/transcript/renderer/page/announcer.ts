/** Milliseconds. Long enough to be taken up by a screen reader, short enough not to be found by a search. */
const SHOWN = 2000;

/**
 * Says a sentence to screen readers without moving the focus. Only what a listener would want to be
 * interrupted by belongs here: the start and the end of an answer, never its growing text.
 */
export class Announcer {
    private timer: ReturnType<typeof setTimeout> | undefined;

    constructor(private readonly region: HTMLElement) {}

    say(sentence: string): void {
        // A new node is announced even when it says the same as the one before.
        const line = document.createElement('p');
        line.textContent = sentence;
        this.region.replaceChildren(line);
        clearTimeout(this.timer);
        this.timer = setTimeout(() => this.region.replaceChildren(), SHOWN);
    }
}
