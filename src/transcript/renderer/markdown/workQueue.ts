/** Milliseconds that work which nobody waits for may hold up everything else at a time. */
const BUDGET = 4;
const NOTHING = (): void => {};

/** Work that can wait, done in order, a little at a time. Timers carry it, because frames stop while the page is hidden. */
export class WorkQueue {
    private jobs: (() => void)[] = [];
    private done = 0;
    private timer: ReturnType<typeof setTimeout> | undefined;

    add(job: () => void): void {
        this.jobs.push(job);
        this.timer ??= setTimeout(() => this.work());
    }

    private work(): void {
        const end = performance.now() + BUDGET;
        try {
            do this.next()(); while (this.done < this.jobs.length && performance.now() < end);
        } finally {
            // A job that fails holds up none of the others.
            this.goOn();
        }
    }

    /** What is done is let go, with all that it knows of the page: the line may never be empty. */
    private next(): () => void {
        const job = this.jobs[this.done]!;
        this.jobs[this.done++] = NOTHING;
        return job;
    }

    private goOn(): void {
        const more = this.done < this.jobs.length;
        this.timer = more ? setTimeout(() => this.work()) : undefined;
        if (more) return;
        this.jobs = [];
        this.done = 0;
    }
}
