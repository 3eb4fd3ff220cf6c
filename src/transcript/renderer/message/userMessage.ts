import { element } from '../page/dom';
import { cutText } from '../markdown/clusters';
import { attachmentList } from './attachments';
import { changedParts } from './changes';
import type { MessageView } from './messageView';
import type { ChatMessage } from './records';

/** What the user wrote, exactly as written, to the right. */
export class UserMessage implements MessageView {
    readonly node = element('article', 'message user');
    private readonly bubble = element('div', 'bubble');
    private files: HTMLElement | undefined;
    private shown: ChatMessage | undefined;

    constructor() {
        this.node.setAttribute('aria-label', 'You');
    }

    update(message: ChatMessage): void {
        const changed = changedParts(this.shown, message);
        this.shown = message;
        const { content, attachments } = message;
        if (changed.has('content')) {
            this.bubble.replaceChildren(...cutText(content));
            if (content) this.node.append(this.bubble);
            else this.bubble.remove();
        }
        if (changed.has('attachments')) {
            this.files?.remove();
            this.files = attachments?.length ? attachmentList(attachments) : undefined;
            if (this.files) this.node.prepend(this.files);
        }
    }

    setAskable(): void {}

    dispose(): void {}
}
