import { element, keepFocus } from '../page/dom';
import type { Services } from '../page/services';
import { ActivityCard } from './activityCard';
import { AnswerFooter } from './answerFooter';
import { AnswerText } from './answerText';
import { Caret } from './caret';
import { changedParts } from './changes';
import { ErrorCard } from './errorCard';
import { MediaView } from './mediaView';
import { answerNews, mediaNews } from './mediaNews';
import type { MessageView } from './messageView';
import type { ChatMessage } from './records';
import { readRoute } from './route';
import type { ShownAnswer } from './shownAnswer';
import { spokenText } from './spokenText';

/**
 * An answer: activity while it is under way, text, media, error, and the line that says who answered. An
 * update that only brings more text touches nothing but the text.
 */
export class AnswerMessage implements MessageView, ShownAnswer {
    readonly node = element('article', 'message answer');
    message!: ChatMessage;
    private readonly text: AnswerText;
    private readonly caret: Caret;
    private readonly footer: AnswerFooter;
    private media: MediaView | undefined;
    private error: ErrorCard | undefined;
    private activity: ActivityCard | undefined;
    private askable = false;

    constructor(private readonly services: Services) {
        this.text = new AnswerText(services);
        this.caret = new Caret(services.seconds);
        this.footer = new AnswerFooter(services, this);
        this.node.setAttribute('aria-label', 'Teskal');
        this.node.append(this.text.node, this.footer.node);
    }

    update(message: ChatMessage, appended?: string): void {
        const before: ChatMessage | undefined = this.message;
        keepFocus(this.node, () => this.show(message, appended));
        if (before) this.announce(before);
    }

    /** Draws a part of an answer that is not in the page yet; false when `update` may draw the rest. */
    prepare({ content }: ChatMessage): boolean {
        return this.text.prepare(content);
    }

    private show(message: ChatMessage, appended?: string): void {
        const before: ChatMessage | undefined = this.message;
        const changed = changedParts(before, message);
        this.message = message;
        const pending = message.pending === true;

        if (changed.has('content') || changed.has('pending')) this.text.update(message.content, !pending, appended);
        if (pending) this.caret.show(this.text.caretPlace());
        if (changed.has('activity') || changed.has('pending')) this.updateActivity();
        if (changed.has('media')) this.updateMedia();
        if (changed.has('error') || changed.has('pending')) this.updateError();
        if (changed.has('route')) this.updateName();
        if (changed.has('pending')) this.updatePending(pending);
        if (changed.has('pending') || !pending) this.footer.update(this.askable);
    }

    setAskable(askable: boolean): void {
        if (this.askable === askable) return;
        this.askable = askable;
        keepFocus(this.node, () => {
            if (this.error) this.updateError();
            if (this.message.media?.status === 'error') this.updateMedia();
            this.footer.update(askable);
        });
    }

    spokenText(): string {
        return spokenText(this.text.node);
    }

    dispose(): void {
        this.caret.hide();
        this.media?.dispose();
        this.footer.dispose();
    }

    private updatePending(pending: boolean): void {
        this.node.setAttribute('aria-busy', String(pending));
        if (!pending) this.caret.hide();
    }

    /** Says what has come to its end with an update. */
    private announce(before: ChatMessage): void {
        const { pending, media } = this.message;
        const { announcer } = this.services;
        if (pending) return;
        const mediaEnds = before.media?.status === 'pending' && media?.status !== 'pending';
        if (before.pending) announcer.say(answerNews(this.message));
        else if (media && mediaEnds) announcer.say(mediaNews(media));
    }

    private updateActivity(): void {
        const { pending, activity } = this.message;
        if (!pending) {
            this.activity?.fold();
            this.activity = undefined;
            return;
        }
        if (activity === undefined) return;
        const card = this.activity ?? new ActivityCard();
        card.update(activity);
        if (this.activity || card.isEmpty) return;
        this.activity = card;
        this.node.prepend(card.node);
    }

    private updateMedia(): void {
        const { media } = this.message;
        if (!this.media) {
            if (!media) return;
            this.media = new MediaView(this.services);
            this.text.node.after(this.media.node);
        }
        this.media.update(media, this.askable);
    }

    private updateError(): void {
        const { error, pending } = this.message;
        if (!error || pending) {
            this.error?.node.remove();
            this.error = undefined;
            return;
        }
        if (!this.error) {
            this.error = new ErrorCard(this.services.port);
            this.footer.node.before(this.error.node);
        }
        this.error.update(error, this.askable);
    }

    private updateName(): void {
        const route = readRoute(this.message.route);
        this.node.setAttribute('aria-label', route ? `Teskal, ${route.name}` : 'Teskal');
    }
}
