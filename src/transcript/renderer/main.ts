import './styles/main.css';
import { Enhancer } from './markdown/enhancer';
import { createMarkdown } from './markdown/markdown';
import { Sanitizer } from './markdown/sanitizer';
import type { Chat, ChatMessage } from './message/records';
import { Announcer } from './page/announcer';
import { handleCopying } from './page/clipboard';
import { Follower } from './page/follower';
import { HostPort } from './page/hostPort';
import { handleLinks } from './page/links';
import { Transcript } from './page/transcript';

export type Theme = 'light' | 'dark';
export type AudioState = 'loading' | 'playing' | 'idle';

/** What the host calls. */
interface TeskalPage {
    setChat(chat: Chat | null): void;
    upsert(message: ChatMessage): void;
    setBusy(busy: boolean): void;
    setTheme(theme: Theme): void;
    setAudio(messageId: string, state: AudioState): void;
    fetchResult(id: number, status: number, body: string, contentType: string): void;
    scrollToBottom(): void;
}

declare global {
    interface Window {
        teskal: TeskalPage;
    }
}

const container = byId('transcript', HTMLElement);
const port = new HostPort();
const sanitizer = new Sanitizer(window);
const follower = new Follower(container, byId('to-end', HTMLButtonElement));
const transcript = new Transcript(container, {
    port,
    markdown: createMarkdown(),
    sanitizer,
    enhancer: new Enhancer(sanitizer),
    announcer: new Announcer(byId('announcer', HTMLElement)),
}, follower);

window.teskal = {
    setChat: (chat) => transcript.setChat(chat),
    upsert: (message) => transcript.upsert(message),
    setBusy: (busy) => transcript.setBusy(busy),
    setTheme: (theme) => {
        document.documentElement.dataset['theme'] = theme;
    },
    // The page offers no reading aloud and asks for nothing from the service, so there is nothing to show
    // or to resolve; the host may call both at any time.
    setAudio: () => {},
    fetchResult: () => {},
    scrollToBottom: () => follower.toEnd(),
};

handleLinks(container, port);
handleCopying(container);
port.post({ type: 'ready' });

function byId<Kind extends HTMLElement>(id: string, kind: new () => Kind): Kind {
    const found = document.getElementById(id);
    if (!(found instanceof kind)) throw new Error(`The page has no #${id}`);
    return found;
}
