import type { HostMessage } from '../message/records';

interface MessageHandler {
    postMessage(message: HostMessage): void;
}

declare global {
    interface Window {
        webkit?: { messageHandlers?: { teskal?: MessageHandler } };
    }
}

/**
 * Posts messages to the host through `window.webkit.messageHandlers.teskal`.
 *
 * A host that opens its channel asynchronously may put the handler in place later: until then messages
 * are kept in order, and the event "teskal-port" on `window` tells the page to send them.
 */
export class HostPort {
    private kept: HostMessage[] = [];

    constructor() {
        window.addEventListener('teskal-port', () => this.flush());
    }

    post(message: HostMessage): void {
        this.kept.push(message);
        this.flush();
    }

    private flush(): void {
        const handler = window.webkit?.messageHandlers?.teskal;
        if (!handler) return;
        const kept = this.kept;
        this.kept = [];
        for (const message of kept) handler.postMessage(message);
    }
}
