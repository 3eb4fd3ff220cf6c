import { AnswerMessage } from '../message/answerMessage';
import type { MessageView } from '../message/messageView';
import type { Chat, ChatMessage } from '../message/records';
import { UserMessage } from '../message/userMessage';
import { afterPaint } from './afterPaint';
import { element } from './dom';
import type { Follower } from './follower';
import type { Services } from './services';

/** Messages drawn at once when a chat opens, at most; about what a window shows. */
const FIRST_DRAWN = 6;
/** Characters of text that fill a point of the window's height. */
const CHARACTERS_PER_POINT = 4;
/** Milliseconds that drawing earlier messages may hold up everything else at a time. */
const SLICE = 6;
/** Messages put into the page at once: the first few soon, for a reader who scrolls up at once; later many,
 *  since each time the whole page is moved and painted again. */
const FIRST_BATCH = 8;
const LARGEST_BATCH = 128;
/** Messages that are taken out of the page at once; more take longer than a picture may wait. */
const DROPPED_AT_ONCE = 30;

/**
 * The messages of the open chat, in order, each in one view that lives as long as the chat is shown. A
 * chat opens at its end; its earlier messages are drawn upwards in small slices.
 */
export class Transcript {
    private readonly views = new Map<string, MessageView>();
    private list = messageList();
    /** Messages above those drawn so far, oldest first. */
    private earlier: ChatMessage[] = [];
    /** Those of them that are drawn and not in the page yet. */
    private waiting: HTMLElement[] = [];
    private batch = FIRST_BATCH;
    private slice: ReturnType<typeof setTimeout> | undefined;
    /** Counts the chats shown, so that work for one that was left does nothing. */
    private shownChats = 0;
    private last: MessageView | undefined;
    private busy = false;

    constructor(
        container: HTMLElement,
        private readonly services: Services,
        private readonly follower: Follower,
    ) {
        container.append(this.list);
    }

    setChat(chat: Chat | null): void {
        this.clear();
        const messages = chat?.messages ?? [];
        const first = firstDrawn(messages);
        this.earlier = messages.slice(0, first);
        for (const message of messages.slice(first)) this.append(message);
        this.offerAskAgain();
        this.follower.toEnd();
        // The end of the chat comes to the screen before the work on the rest begins.
        const shown = this.shownChats;
        void afterPaint().then(() => {
            if (shown === this.shownChats) this.drawEarlierSoon();
        });
    }

    upsert(message: ChatMessage): void {
        const view = this.views.get(message.id);
        const waiting = view ? -1 : this.earlier.findIndex(({ id }) => id === message.id);
        if (waiting >= 0) {
            this.earlier[waiting] = message;
            return;
        }
        if (view) {
            view.update(message);
        } else {
            this.last?.setAskable(false);
            this.append(message);
            this.offerAskAgain();
            if (message.pending) this.services.announcer.say('Teskal is answering.');
        }
        this.follower.contentChanged();
    }

    setBusy(busy: boolean): void {
        this.busy = busy;
        this.offerAskAgain();
    }

    private clear(): void {
        clearTimeout(this.slice);
        this.shownChats += 1;
        for (const view of this.views.values()) view.dispose();
        this.views.clear();
        this.last = undefined;
        this.waiting = [];
        this.batch = FIRST_BATCH;
        const left = this.list;
        this.list = messageList();
        left.before(this.list);
        left.hidden = true;
        drop(left);
    }

    private append(message: ChatMessage): void {
        this.last = this.create(message);
        this.list.append(this.last.node);
    }

    private create(message: ChatMessage): MessageView {
        const view = message.role === 'user'
            ? new UserMessage()
            : new AnswerMessage(this.services);
        view.update(message);
        this.views.set(message.id, view);
        return view;
    }

    /** By a timer, not by frames: those stop while the page is hidden. */
    private drawEarlierSoon(): void {
        if (this.earlier.length > 0) this.slice = setTimeout(() => this.drawEarlier());
        else this.services.port.post({ type: 'drawn' });
    }

    private drawEarlier(): void {
        const end = performance.now() + SLICE;
        do this.waiting.push(this.create(this.earlier.pop()!).node);
        while (this.earlier.length > 0 && performance.now() < end);
        if (this.waiting.length >= this.batch || this.earlier.length === 0) this.placeWaiting();
        this.drawEarlierSoon();
    }

    private placeWaiting(): void {
        const nodes = this.waiting.reverse();
        this.waiting = [];
        this.batch = Math.min(this.batch * 2, LARGEST_BATCH);
        this.follower.keepPlace(() => this.list.prepend(...nodes));
    }

    private offerAskAgain(): void {
        this.last?.setAskable(!this.busy);
    }
}

function messageList(): HTMLElement {
    return element('div', 'messages');
}

/** Removes the messages of a chat that was left, most of them after the next one is on the screen. */
function drop(list: HTMLElement): void {
    if (list.childElementCount <= DROPPED_AT_ONCE) {
        list.remove();
        return;
    }
    void afterPaint().then(() => {
        for (const node of [...list.children].slice(-DROPPED_AT_ONCE)) node.remove();
        drop(list);
    });
}

/** Index of the first message that is drawn at once; the last message always is. */
function firstDrawn(messages: readonly ChatMessage[]): number {
    let first = Math.max(messages.length - 1, 0);
    let characters = messages[first]?.content.length ?? 0;
    while (first > 0 && messages.length - first < FIRST_DRAWN) {
        characters += messages[first - 1]!.content.length;
        if (characters > window.innerHeight * CHARACTERS_PER_POINT) break;
        first -= 1;
    }
    return first;
}
