import { AnswerMessage } from '../message/answerMessage';
import { Caret } from '../message/caret';
import type { MessageView } from '../message/messageView';
import type { Chat, ChatMessage } from '../message/records';
import { UserMessage } from '../message/userMessage';
import type { Follower } from './follower';
import type { Services } from './services';

/** The messages of the open chat, in order, each in one view that lives as long as it is shown. */
export class Transcript {
    private readonly views = new Map<string, MessageView>();
    private readonly caret = new Caret(document.documentElement);
    private last: MessageView | undefined;
    private busy = false;

    constructor(
        private readonly container: HTMLElement,
        private readonly services: Services,
        private readonly follower: Follower,
    ) {}

    setChat(chat: Chat | null): void {
        for (const view of this.views.values()) view.dispose();
        this.views.clear();
        this.last = undefined;
        const nodes = (chat?.messages ?? []).map((message) => this.add(message).node);
        this.container.replaceChildren(...nodes);
        this.offerAskAgain();
        this.follower.toEnd();
    }

    upsert(message: ChatMessage): void {
        const view = this.views.get(message.id);
        if (view) {
            view.update(message);
        } else {
            this.last?.setAskable(false);
            this.container.append(this.add(message).node);
            this.offerAskAgain();
        }
        this.follower.contentChanged();
    }

    setBusy(busy: boolean): void {
        this.busy = busy;
        this.offerAskAgain();
    }

    private add(message: ChatMessage): MessageView {
        const view = message.role === 'user' ? new UserMessage() : new AnswerMessage(this.services, this.caret);
        view.update(message);
        this.views.set(message.id, view);
        this.last = view;
        return view;
    }

    private offerAskAgain(): void {
        this.last?.setAskable(!this.busy);
    }
}
