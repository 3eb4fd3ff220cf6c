import { element } from '../page/dom';
import { attachmentList } from './attachments';
import { changedParts } from './changes';
import type { MessageView } from './messageView';
import type { ChatMessage } from './records';

/** What the user wrote, exactly as written, to the right. */
export class UserMessage implements MessageView {
    readonly node = element('article', 'message user');
    private shown: ChatMessage | undefined;

    constructor() {
        this.node.setAttribute('aria-label', 'You');
    }

    update(message: ChatMessage): void {
        const changed = changedParts(this.shown, message);
        this.shown = message;
        if (!changed.has('content') && !changed.has('attachments')) return;
        const { content, attachments } = message;
        this.node.replaceChildren(
            ...(attachments?.length ? [attachmentList(attachments)] : []),
            ...(content ? [element('div', 'bubble', content)] : []));
    }

    setAskable(): void {}

    dispose(): void {}
}
