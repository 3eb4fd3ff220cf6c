import type { ChatMessage } from './records';

/** Draws one message in one node that stays the same while the message changes. */
export interface MessageView {
    readonly node: HTMLElement;
    /** @param appended the end of the text, when that is known to be all that is new */
    update(message: ChatMessage, appended?: string): void;
    /** Whether asking again is offered: under the last message, while nothing is being answered. */
    setAskable(askable: boolean): void;
    /** The view is not needed any more. */
    dispose(): void;
}
