import { JSDOM } from 'jsdom';
import type { Chat, ChatMessage, HostMessage } from '../../src/transcript/renderer/message/records';

/** What jsdom has no layout for, as little as the page needs: sizes change when a test says so. */
const resizeListeners: (() => void)[] = [];
class ToldResizes {
    constructor(told: () => void) {
        resizeListeners.push(told);
    }
    observe(): void {}
    unobserve(): void {}
    disconnect(): void {}
}

/** Everything that watches sizes looks again. */
export function resized(): void {
    for (const told of resizeListeners) told();
}

/** Everything is near the window. */
class AlwaysNear {
    constructor(private readonly told: (entries: object[]) => void) {}
    observe(target: Element): void {
        queueMicrotask(() => this.told([{ isIntersecting: true, target }]));
    }
    unobserve(): void {}
    disconnect(): void {}
}

export interface OpenPage {
    window: JSDOM['window'] & { teskal: Record<string, (...values: unknown[]) => void> };
    document: Document;
    posted: HostMessage[];
    setChat(chat: Chat | null): void;
    upsert(message: ChatMessage): void;
    find(selector: string): HTMLElement;
    all(selector: string): HTMLElement[];
    button(name: string): HTMLButtonElement | undefined;
}

/** Runs the page's own script in a fresh document. One page per process: modules are evaluated once. */
export async function openPage({ withPort = true } = {}): Promise<OpenPage> {
    const dom = new JSDOM('<!doctype html><main id="transcript"></main><button id="to-end" hidden></button><div id="announcer"></div>',
        { url: 'https://page.example/', pretendToBeVisual: true });
    const window = dom.window as unknown as OpenPage['window'];
    const posted: HostMessage[] = [];
    if (withPort) connect(window, posted);
    Object.assign(window, { ResizeObserver: ToldResizes, IntersectionObserver: AlwaysNear, matchMedia: () => ({ matches: false, addEventListener: () => {} }), requestIdleCallback: () => 0 });
    const values = window as unknown as Record<string, unknown>;
    const classes = Object.getOwnPropertyNames(window).filter((name) => /^[A-Z]\w*[a-z]/.test(name) && !Object.hasOwn(globalThis, name));
    for (const name of ['document', 'matchMedia', 'getSelection', 'requestAnimationFrame', 'requestIdleCallback', 'ResizeObserver', 'IntersectionObserver', ...classes]) {
        const value = values[name];
        Object.defineProperty(globalThis, name, { configurable: true, value: typeof value === 'function' && !value.prototype ? value.bind(window) : value });
    }
    Object.defineProperty(globalThis, 'window', { configurable: true, value: window });
    await import('../../src/transcript/renderer/main');
    const { document } = window;
    return {
        window,
        document,
        posted,
        setChat: (chat) => window.teskal['setChat']!(chat),
        upsert: (message) => window.teskal['upsert']!(message),
        find: (selector) => document.querySelector<HTMLElement>(selector)!,
        all: (selector) => [...document.querySelectorAll<HTMLElement>(selector)],
        button: (name) => [...document.querySelectorAll('button')]
            .find((button) => (button.getAttribute('aria-label') ?? button.textContent) === name),
    };
}

export function answer(more: Partial<ChatMessage> = {}): ChatMessage {
    return { id: 'a', role: 'assistant', content: '', ...more };
}

export function user(id: string, content = 'Question', more: Partial<ChatMessage> = {}): ChatMessage {
    return { id, role: 'user', content, ...more };
}

/** A task for the page to hear what came near the window, and what was replied. */
export function turn(): Promise<void> {
    return new Promise((resolve) => { setImmediate(resolve); });
}

export function connect(window: object, posted: HostMessage[]): void {
    Object.assign(window, { webkit: { messageHandlers: { teskal: { postMessage: (message: HostMessage) => posted.push(message) } } } });
}
