import type { ChatMessage } from '../message/records';

/** Milliseconds that drawing earlier messages may hold up everything else at a time. */
const SLICE = 6;
/** Messages put into the page at once: the first few soon, for a reader who scrolls up at once; later many,
 *  since each time the whole page is moved and painted again. */
const FIRST_BATCH = 8;
const LARGEST_BATCH = 64;

/** What is done with messages that are to stand above those in the page. */
export interface EarlierPlace {
    /** Null when a part of a long one is drawn: the next call goes on with it. */
    draw(message: ChatMessage): HTMLElement | null;
    prepend(nodes: HTMLElement[]): void;
    /** All are in the page now. */
    complete(): void;
}

/** The messages of a chat that are not in the page yet. They are drawn upwards in small slices. */
export class EarlierMessages {
    /** Oldest first. */
    private messages: ChatMessage[] = [];
    /** Drawn, and not in the page yet; the latest first. */
    private drawn: HTMLElement[] = [];
    private batch = FIRST_BATCH;
    private timer: ReturnType<typeof setTimeout> | undefined;

    constructor(private readonly place: EarlierPlace) {}

    get isEmpty(): boolean {
        return this.messages.length === 0;
    }

    /** Forgets what was left, and takes these messages instead. */
    reset(messages: ChatMessage[]): void {
        clearTimeout(this.timer);
        this.timer = undefined;
        this.messages = messages;
        this.drawn = [];
        this.batch = FIRST_BATCH;
    }

    /** By a timer, not by frames: those stop while the page is hidden. */
    drawSoon(): void {
        if (this.timer !== undefined) return;
        if (this.messages.length > 0) this.timer = setTimeout(() => this.drawSome());
        else this.place.complete();
    }

    /** Puts into the page what is drawn. */
    placeDrawn(): void {
        const nodes = this.drawn.reverse();
        this.drawn = [];
        if (nodes.length > 0) this.place.prepend(nodes);
    }

    /** Takes a newer version of a message that is not drawn yet; false when there is none of that identifier. */
    replace(message: ChatMessage): boolean {
        const index = this.messages.findIndex(({ id }) => id === message.id);
        if (index >= 0) this.messages[index] = message;
        return index >= 0;
    }

    private drawSome(): void {
        this.timer = undefined;
        const end = performance.now() + SLICE;
        do {
            const node = this.place.draw(this.messages.at(-1)!);
            if (!node) continue;
            this.drawn.push(node);
            this.messages.pop();
        } while (this.messages.length > 0 && performance.now() < end);
        if (this.drawn.length >= this.batch || this.messages.length === 0) {
            this.batch = Math.min(this.batch * 2, LARGEST_BATCH);
            this.placeDrawn();
        }
        this.drawSoon();
    }
}
