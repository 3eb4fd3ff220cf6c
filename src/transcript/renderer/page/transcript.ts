import { AnswerMessage } from '../message/answerMessage';
import type { MessageView } from '../message/messageView';
import { PlainMessage } from '../message/plainMessage';
import type { Chat, ChatMessage } from '../message/records';
import { UserMessage } from '../message/userMessage';
import { afterPaint } from './afterPaint';
import { focusMessage } from './dom';
import { EarlierMessages } from './earlierMessages';
import type { Follower } from './follower';
import { batchOf, firstMessage, messageList, nextMessage, previousMessage, removeMessage, replaceList } from './messageList';
import type { Services } from './services';

/** Messages drawn at once when a chat opens, at most; about what a window shows. */
const FIRST_DRAWN = 6;
/** Characters of text that fill a point of the window's height. */
const CHARACTERS_PER_POINT = 4;
/** New messages that a shown chat can take in at once; with more it is opened anew. */
const MOST_NEW = 20;

/**
 * The messages of the open chat, in order, each in one view that lives as long as the chat is shown. A
 * chat opens at its end; its earlier messages are drawn upwards, a little at a time.
 */
export class Transcript {
    private readonly views = new Map<string, MessageView>();
    private readonly earlier: EarlierMessages;
    private list = messageList();
    private shownChat: string | undefined;
    private last: MessageView | undefined;
    /** A long answer that is drawn in parts, and its identifier. */
    private prepared: { id: string; view: AnswerMessage } | undefined;
    private busy = false;

    constructor(
        container: HTMLElement,
        private readonly services: Services,
        private readonly follower: Follower,
    ) {
        container.append(this.list);
        this.earlier = new EarlierMessages({
            draw: (message) => this.prepare(message) ? null : this.create(message).node,
            prepend: (nodes) => {
                for (const node of nodes) {
                    node.classList.add('earlier');
                    this.services.outOfSight.setAside(node);
                }
                const batch = batchOf(nodes);
                this.services.outOfSight.setAsideWhileFar(batch);
                this.follower.keepPlace(() => this.list.prepend(batch));
            },
            complete: () => this.services.port.post({ type: 'drawn' }),
        });
    }

    get chatId(): string | undefined {
        return this.shownChat;
    }

    setChat(chat: Chat | null): void {
        const messages = chat?.messages ?? [];
        if (chat && chat.id === this.shownChat && this.takeOver(messages)) return;
        this.clear();
        this.shownChat = chat?.id;
        const first = firstDrawn(messages);
        this.earlier.reset(messages.slice(0, first));
        for (const message of messages.slice(first)) this.append(message);
        this.offerAskAgain();
        this.follower.toEnd();
        // The end of the chat comes to the screen before the work on the rest begins.
        const { list } = this;
        void afterPaint().then(() => {
            if (list === this.list) this.earlier.drawSoon();
        });
    }

    upsert(message: ChatMessage, appended?: string): void {
        const view = this.views.get(message.id);
        if (!view && this.earlier.replace(message)) return;
        if (!view) {
            this.last?.setAskable(false);
            this.append(message);
            this.offerAskAgain();
            this.announceStart(message);
        } else {
            this.update(view, message, appended);
        }
        if (!view || view === this.last) this.follower.contentChanged();
    }

    /** Whether every message is in the page. */
    get isDrawn(): boolean {
        return this.earlier.isEmpty;
    }

    setBusy(busy: boolean): void {
        this.busy = busy;
        this.offerAskAgain();
    }

    /**
     * Makes the shown chat that of `messages`: what stays keeps its view, and with it the reader's place,
     * selection and focus. False when too little of it is there.
     */
    private takeOver(messages: ChatMessage[]): boolean {
        const first = messages.findIndex(({ id }) => this.views.has(id));
        const fresh = messages.slice(first).filter(({ id }) => !this.views.has(id));
        if (first < 0 || fresh.length > MOST_NEW) return false;

        this.earlier.placeDrawn();
        this.earlier.reset(messages.slice(0, first));
        this.removeAllBut(new Set(messages.map(({ id }) => id)));
        this.last?.setAskable(false);
        let next = firstMessage(this.list);
        for (const message of messages.slice(first)) {
            const { node } = this.placed(message);
            if (node === next) {
                next = nextMessage(next);
                continue;
            }
            removeMessage(node);
            if (next) next.before(node);
            else this.list.append(node);
        }
        this.passOn(this.views.get(messages.at(-1)!.id)!);
        for (const { id } of fresh) if (this.views.get(id) !== this.last) this.isFollowed(this.views.get(id)!);
        this.offerAskAgain();
        for (const message of fresh) this.announceStart(message);
        this.follower.contentChanged();
        this.earlier.drawSoon();
        return true;
    }

    /** Another message is the last one now. */
    private passOn(last: MessageView): void {
        if (this.last && this.last !== last) this.isFollowed(this.last);
        this.last = last;
        last.node.classList.remove('earlier');
        this.services.outOfSight.takeBack(last.node);
    }

    private isFollowed({ node }: MessageView): void {
        node.classList.add('earlier');
        this.services.outOfSight.watch(node);
    }

    private placed(message: ChatMessage): MessageView {
        const view = this.views.get(message.id);
        if (!view) return this.create(message);
        this.update(view, message);
        return this.views.get(message.id)!;
    }

    private removeAllBut(kept: Set<string>): void {
        for (const [id, view] of this.views) {
            if (kept.has(id)) continue;
            // The focus stays where it was said to be, as near as there is something.
            const before = previousMessage(view.node);
            if (before instanceof HTMLElement && view.node.contains(document.activeElement)) focusMessage(before);
            view.dispose();
            removeMessage(view.node);
            this.views.delete(id);
        }
    }

    private clear(): void {
        this.earlier.reset([]);
        for (const view of this.views.values()) view.dispose();
        this.views.clear();
        this.dropPrepared();
        this.last = undefined;
        this.list = replaceList(this.list);
    }

    private append(message: ChatMessage): void {
        const view = this.create(message);
        this.passOn(view);
        this.list.append(view.node);
    }

    /** Draws a part of a long answer; false when the rest may be drawn at once. */
    private prepare(message: ChatMessage): boolean {
        if (message.role === 'user') return false;
        if (this.prepared?.id !== message.id) {
            this.dropPrepared();
            this.prepared = { id: message.id, view: new AnswerMessage(this.services) };
        }
        try {
            return this.prepared.view.prepare(message);
        } catch {
            this.dropPrepared();
            return false;
        }
    }

    private dropPrepared(): void {
        this.prepared?.view.dispose();
        this.prepared = undefined;
    }

    private newView({ id, role }: ChatMessage): MessageView {
        if (role === 'user') return new UserMessage();
        const { prepared } = this;
        if (prepared?.id !== id) return new AnswerMessage(this.services);
        this.prepared = undefined;
        return prepared.view;
    }

    private create(message: ChatMessage): MessageView {
        // Of two messages with one identifier, which no chat should have, the one drawn later takes the updates.
        this.views.get(message.id)?.dispose();
        const view = this.drawn(this.newView(message), message);
        this.views.set(message.id, view);
        return view;
    }

    private update(view: MessageView, message: ChatMessage, appended?: string): void {
        const updated = this.drawn(view, message, appended);
        if (updated === view) return;
        view.node.replaceWith(updated.node);
        this.views.set(message.id, updated);
        if (this.last === view) this.last = updated;
    }

    /** The view with the message in it; a plain one when that fails, so that the chat does not end there. */
    private drawn(view: MessageView, message: ChatMessage, appended?: string): MessageView {
        try {
            view.update(message, appended);
            return view;
        } catch {
            console.error('A message could not be drawn.');
            view.dispose();
            const plain = new PlainMessage();
            plain.update(message);
            return plain;
        }
    }

    private announceStart(message: ChatMessage): void {
        if (message.pending) this.services.announcer.say('Teskal is answering.');
    }

    private offerAskAgain(): void {
        this.last?.setAskable(!this.busy);
    }
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
