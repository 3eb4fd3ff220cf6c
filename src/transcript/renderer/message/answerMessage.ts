import { showCopied } from '../page/copyFeedback';
import { element, iconButton } from '../page/dom';
import { icon } from '../page/icons';
import type { Services } from '../page/services';
import { ActivityCard } from './activityCard';
import { AnswerText } from './answerText';
import type { Caret } from './caret';
import { changedParts } from './changes';
import { errorCard } from './errorCard';
import { mediaCard } from './mediaCard';
import type { MessageView } from './messageView';
import type { ChatMessage } from './records';
import { readRoute } from './route';

/** An answer: activity while it is under way, text, media, error, and the line that says who answered. */
export class AnswerMessage implements MessageView {
    readonly node = element('article', 'message answer');
    private readonly text: AnswerText;
    private readonly media = element('div');
    private readonly error = element('div');
    private readonly footer = element('footer', 'route');
    private readonly caretMark = element('span', 'caret');
    private activity: ActivityCard | undefined;
    private shown: ChatMessage | undefined;
    private askable = false;

    constructor(private readonly services: Services, private readonly caret: Caret) {
        this.text = new AnswerText(services);
        this.caretMark.setAttribute('aria-hidden', 'true');
        this.node.setAttribute('aria-label', 'Teskal');
        this.node.append(this.text.node, this.media, this.error, this.footer);
    }

    update(message: ChatMessage): void {
        const before = this.shown;
        const changed = changedParts(before, message);
        this.shown = message;
        const pending = message.pending === true;

        if (changed.has('content') || changed.has('pending')) this.text.update(message.content, !pending);
        if (changed.has('activity') || changed.has('pending')) this.updateActivity();
        if (before?.pending && !pending) this.announceEnd();
        this.updateCaret(pending);
        if (changed.has('media')) this.updateMedia();
        if (changed.has('error') || changed.has('pending')) this.updateError();
        if (changed.has('route') || changed.has('pending') || changed.has('error') || changed.has('media')
            || (changed.has('content') && !pending)) this.updateFooter();
        if (changed.has('route')) this.updateName();
    }

    setAskable(askable: boolean): void {
        if (this.askable === askable) return;
        this.askable = askable;
        this.updateError();
        this.updateFooter();
    }

    dispose(): void {
        this.caret.hide(this);
    }

    private updateActivity(): void {
        const { pending, activity } = this.shown!;
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

    private updateCaret(pending: boolean): void {
        this.node.setAttribute('aria-busy', String(pending));
        if (!pending) {
            this.caretMark.remove();
            this.caret.hide(this);
            return;
        }
        const place = this.text.caretPlace();
        if (place.lastChild !== this.caretMark) place.append(this.caretMark);
        this.caret.show(this);
    }

    private updateMedia(): void {
        const { media } = this.shown!;
        this.media.replaceChildren(...(media ? [mediaCard(media, this.services.port)] : []));
    }

    private updateError(): void {
        const { error, pending } = this.shown!;
        const shown = error !== undefined && !pending;
        this.error.replaceChildren(...(shown ? [errorCard(error, this.services.port, this.askable)] : []));
    }

    private updateFooter(): void {
        const message = this.shown!;
        this.footer.replaceChildren();
        if (message.pending || (message.error && !message.content)) return;
        const route = readRoute(message.route);
        if (route) {
            this.footer.append(element('span', 'route-dot'), element('span', 'route-name', route.name),
                ...route.details.map((detail) => element('span', 'route-detail', detail)));
        }
        const actions = this.actions(message);
        if (actions.hasChildNodes()) this.footer.append(actions);
    }

    private actions({ content, error }: ChatMessage): HTMLElement {
        const { port } = this.services;
        const actions = element('span', 'actions');
        if (content) {
            const copy = iconButton('icon-button', 'Copy', icon('copy'), () => {
                port.post({ type: 'copy', text: this.shown!.content });
                showCopied(copy);
            });
            actions.append(copy);
        }
        if (this.askable && !error) {
            actions.append(iconButton('icon-button', 'Ask again', icon('askAgain'),
                () => port.post({ type: 'retry' })));
        }
        return actions;
    }

    private updateName(): void {
        const route = readRoute(this.shown!.route);
        this.node.setAttribute('aria-label', route ? `Teskal, ${route.name}` : 'Teskal');
    }

    private announceEnd(): void {
        this.services.announcer.say(this.shown!.error?.message ?? 'The answer is complete.');
    }
}
