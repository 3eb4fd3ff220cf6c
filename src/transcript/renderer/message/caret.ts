import { element } from '../page/dom';
import type { Ticker } from '../page/ticker';

/** Steps of a blink, the last of which is dark: few changes, because each costs a picture of the page. */
const BLINK = 3;

/** The mark that follows the text of one answer while that is under way. */
export class Caret {
    private readonly node = element('span', 'caret');
    private stop: (() => void) | undefined;

    constructor(private readonly ticker: Ticker) {
        this.node.setAttribute('aria-hidden', 'true');
    }

    /** Shows the caret as the last thing in `place`. */
    show(place: HTMLElement): void {
        if (place.lastChild !== this.node) place.append(this.node);
        const blink = (step: number) => this.node.classList.toggle('off', step % BLINK === BLINK - 1);
        this.stop ??= this.ticker.listen(blink, { moves: true });
    }

    hide(): void {
        this.node.remove();
        this.stop?.();
        this.stop = undefined;
    }
}
