/** Milliseconds that work which nobody waits for may hold up everything else at a time. */
const BUDGET = 4;

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
            do this.jobs[this.done++]!(); while (this.done < this.jobs.length && performance.now() < end);
        } finally {
            // A job that fails holds up none of the others.
            this.goOn();
        }
    }

    private goOn(): void {
        const more = this.done < this.jobs.length;
        this.timer = more ? setTimeout(() => this.work()) : undefined;
        if (more) return;
        this.jobs = [];
        this.done = 0;
    }
}
