import { element } from '../page/dom';
import type { Ticker } from '../page/ticker';

/** How long something has been under way, as it goes on. */
export class ElapsedTime {
    readonly node = element('span', 'elapsed');
    private readonly stop: () => void;

    /** @param since milliseconds since 1970 */
    constructor(since: number, ticker: Ticker) {
        this.node.setAttribute('role', 'timer');
        // Drawn by the style sheet: a search that is under way keeps its place while this changes.
        const show = () => {
            this.node.dataset['label'] = clockText(Date.now() - since);
        };
        show();
        this.stop = ticker.listen(show, { moves: false });
    }

    dispose(): void {
        this.stop();
    }
}

/** Milliseconds as "0:42" or "1:02:03"; what lies in the future, by another computer's clock, is "0:00". */
export function clockText(duration: number): string {
    const seconds = Math.max(Math.floor(duration / 1000), 0);
    const [hours, minutes] = [Math.floor(seconds / 3600), Math.floor(seconds / 60) % 60];
    const rest = String(seconds % 60).padStart(2, '0');
    return hours > 0 ? `${hours}:${String(minutes).padStart(2, '0')}:${rest}` : `${minutes}:${rest}`;
}
