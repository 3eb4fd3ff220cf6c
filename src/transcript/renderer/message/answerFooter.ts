import { isLocalImage } from '../markdown/linkPolicy';
import { element } from '../page/dom';
import { isLocalPlayable } from '../page/localFiles';
import type { Services } from '../page/services';
import { AnswerActions, type AnswerAction } from './answerActions';
import { sameValue } from './changes';
import type { ChatMessage, Media } from './records';
import { RouteLine } from './routeLine';
import type { ShownAnswer } from './shownAnswer';

/** The quiet line under a finished answer: who answered, and what can be done with the answer. */
export class AnswerFooter {
    readonly node = element('footer', 'route');
    private line: RouteLine | undefined;
    private actions: AnswerActions | undefined;
    private shownRoute: unknown;

    constructor(private readonly services: Services, private readonly answer: ShownAnswer) {}

    update(askable: boolean): void {
        const { message } = this.answer;
        if (message.pending || (message.error && !message.content)) {
            this.clear();
            return;
        }
        this.updateLine(message.route);
        const wanted = wantedActions(message, askable);
        if (wanted.size > 0 || this.actions) this.shownActions().show(wanted);
    }

    dispose(): void {
        this.actions?.dispose();
    }

    private clear(): void {
        this.actions?.dispose();
        this.actions = undefined;
        this.line = undefined;
        this.shownRoute = undefined;
        this.node.replaceChildren();
    }

    private updateLine(route: unknown): void {
        if (route === undefined || sameValue(route, this.shownRoute)) return;
        this.shownRoute = route;
        if (!this.line) {
            this.line = new RouteLine();
            this.node.prepend(this.line.node);
            this.node.append(this.line.reasons);
        }
        this.line.update(route);
    }

    private shownActions(): AnswerActions {
        if (!this.actions) {
            this.actions = new AnswerActions(this.services, this.answer);
            this.node.insertBefore(this.actions.node, this.line?.reasons ?? null);
        }
        return this.actions;
    }
}

/** A failure brings a button of its own that asks again. */
function wantedActions({ content, error, media }: ChatMessage, askable: boolean): Set<AnswerAction> {
    const wanted = new Set<AnswerAction>();
    if (content) wanted.add('copy').add('speak');
    if (media && isSavable(media)) wanted.add('save');
    if (askable && !error && media?.status !== 'error') wanted.add('askAgain');
    return wanted;
}

function isSavable({ status, url }: Media): boolean {
    return status !== 'pending' && status !== 'error' && (isLocalImage(url) || isLocalPlayable(url));
}
