/** Hears how often the ticker has moved since it began to run; 0 means at rest. */
export type TickListener = (step: number) => void;

/**
 * One timer for everything that moves or counts at its pace. A running style animation would keep the
 * compositor busy all the time; this costs what each step draws, and nothing while the page is hidden or
 * nobody listens. What merely moves rests where the reader wants less motion.
 */
export class Ticker {
    private readonly listeners = new Map<TickListener, { moves: boolean }>();
    private readonly stillness = matchMedia('(prefers-reduced-motion: reduce)');
    private timer: ReturnType<typeof setInterval> | undefined;
    private step = 0;

    /** @param period milliseconds per step */
    constructor(private readonly period: number) {
        document.addEventListener('visibilitychange', () => this.adjust());
        this.stillness.addEventListener('change', () => {
            this.tell();
            this.adjust();
        });
    }

    /** Calls `listener` at every step until the returned function is called. */
    listen(listener: TickListener, { moves }: { moves: boolean }): () => void {
        this.listeners.set(listener, { moves });
        this.adjust();
        return () => {
            this.listeners.delete(listener);
            this.adjust();
        };
    }

    private adjust(): void {
        const heard = [...this.listeners.values()].some(({ moves }) => !moves || !this.stillness.matches);
        const runs = heard && !document.hidden;
        if (runs === (this.timer !== undefined)) return;
        clearInterval(this.timer);
        this.timer = undefined;
        this.step = 0;
        this.tell();
        if (!runs) return;
        this.timer = setInterval(() => {
            this.step += 1;
            this.tell();
        }, this.period);
    }

    private tell(): void {
        for (const [listener, { moves }] of this.listeners) {
            listener(moves && this.stillness.matches ? 0 : this.step);
        }
    }
}
