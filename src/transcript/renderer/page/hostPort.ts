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
 * Posts messages to the host through `window.webkit.messageHandlers.teskal`, which the host puts in place
 * before the page's script runs. A page that is open without a host posts to nobody.
 */
export class HostPort {
    post(message: HostMessage): void {
        window.webkit?.messageHandlers?.teskal?.postMessage(message);
    }
}
