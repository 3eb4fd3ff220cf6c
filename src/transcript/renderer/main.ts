import './styles/main.css';
import { Enhancer } from './markdown/enhancer';
import { createMarkdown } from './markdown/markdown';
import { NearWindow } from './markdown/nearWindow';
import { Sanitizer } from './markdown/sanitizer';
import { AnswerText } from './message/answerText';
import { LinkCards } from './message/linkCards';
import type { Chat, ChatMessage } from './message/records';
import { afterPaint } from './page/afterPaint';
import { Announcer } from './page/announcer';
import { AudioStates, type AudioState } from './page/audioStates';
import { Follower } from './page/follower';
import { HostPort } from './page/hostPort';
import { handleLinks } from './page/links';
import { playOneAtATime } from './page/onePlayer';
import { OutOfSight } from './page/outOfSight';
import { PictureOpener } from './page/pictureOpener';
import { offerScrollStops } from './page/scrollStops';
import { SelectionKeeper } from './page/selectionKeeper';
import { ServiceClient } from './page/serviceClient';
import { Ticker } from './page/ticker';
import { Transcript } from './page/transcript';

export type Theme = 'light' | 'dark';

/** What the host calls. */
interface TeskalPage {
    setChat(chat: Chat | null): void;
    /** @param appended the end of the message's text, when nothing else differs from the version before */
    upsert(message: ChatMessage, appended?: string): void;
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

/** Milliseconds after the first picture: others have much to do then, and nobody has asked anything yet. */
const REHEARSAL = 1000;

const container = byId('transcript', HTMLElement);
const port = new HostPort();
// What the host then calls comes in tasks of their own, after all of this script; it need not wait for that.
port.post({ type: 'ready' });
const sanitizer = new Sanitizer(window);
const service = new ServiceClient(port);
const nearWindow = new NearWindow(undefined, '.section');
const linkCards = new LinkCards(service);
const audio = new AudioStates();
const pictures = new PictureOpener(container);
const follower = new Follower(container, byId('to-end', HTMLButtonElement));
const services = {
    port,
    markdown: createMarkdown(),
    sanitizer,
    enhancer: new Enhancer(nearWindow, new SelectionKeeper()),
    nearWindow,
    outOfSight: new OutOfSight(),
    announcer: new Announcer(byId('announcer', HTMLElement)),
    linkCards,
    audio,
    seconds: new Ticker(1000),
    steps: new Ticker(280),
};
const transcript = new Transcript(container, services, follower);

window.teskal = {
    setChat: (chat) => {
        if (chat?.id !== transcript.chatId) pictures.close();
        linkCards.showChat(chat?.id);
        transcript.setChat(chat);
    },
    upsert: (message, appended) => transcript.upsert(message, appended),
    setBusy: (busy) => transcript.setBusy(busy),
    setTheme: (theme) => {
        document.documentElement.dataset['theme'] = theme;
    },
    setAudio: (messageId, state) => audio.set(messageId, state),
    fetchResult: (id, status, body) => service.answered(id, { status, body }),
    scrollToBottom: () => follower.toEnd(),
};

handleLinks(container, port);
playOneAtATime(container);
offerScrollStops(container);
// Nobody copies before there is something to be seen.
void afterPaint().then(() => {
    void import('./page/clipboard').then(({ handleCopying }) => handleCopying(container));
    setTimeout(() => {
        void import('./page/rehearsal').then(({ rehearse }) => rehearse(new AnswerText(services), () => transcript.isDrawn));
    }, REHEARSAL);
});

function byId<Kind extends HTMLElement>(id: string, kind: new () => Kind): Kind {
    const found = document.getElementById(id);
    if (!(found instanceof kind)) throw new Error(`The page has no #${id}`);
    return found;
}
