import type { HostPort } from './hostPort';

export interface ServiceReply {
    status: number;
    body: string;
}

/** Milliseconds after which nobody waits for a reply any more. */
const PATIENCE = 20_000;
/** Requests under way at a time; the others wait their turn. */
const SIDE_BY_SIDE = 3;

interface Request {
    path: string;
    resolve(reply: ServiceReply | null): void;
}

interface Asked extends Request {
    timer: ReturnType<typeof setTimeout>;
}

/** Asks the service through the host, which lets only a narrow part of it through. */
export class ServiceClient {
    private lastId = 0;
    private waiting: Request[] = [];
    private readonly asked = new Map<number, Asked>();

    constructor(private readonly port: HostPort) {}

    /** The reply, whatever its status; null when none came in time or the request was abandoned. */
    get(path: string): Promise<ServiceReply | null> {
        return new Promise((resolve) => {
            this.waiting.push({ path, resolve });
            this.askNext();
        });
    }

    /** The host's answer to request `id`; one that nobody waits for is dropped. */
    answered(id: number, reply: ServiceReply): void {
        this.settle(id, reply);
        this.askNext();
    }

    abandonAll(): void {
        const waiting = this.waiting;
        this.waiting = [];
        for (const { resolve } of waiting) resolve(null);
        for (const id of [...this.asked.keys()]) this.settle(id, null);
    }

    private askNext(): void {
        while (this.asked.size < SIDE_BY_SIDE && this.waiting.length > 0) {
            const request = this.waiting.shift()!;
            const id = this.lastId += 1;
            const timer = setTimeout(() => {
                this.settle(id, null);
                this.askNext();
            }, PATIENCE);
            this.asked.set(id, { ...request, timer });
            this.port.post({ type: 'fetch', id, path: request.path, method: 'GET', body: '' });
        }
    }

    private settle(id: number, reply: ServiceReply | null): void {
        const request = this.asked.get(id);
        if (!request) return;
        this.asked.delete(id);
        clearTimeout(request.timer);
        request.resolve(reply);
    }
}
