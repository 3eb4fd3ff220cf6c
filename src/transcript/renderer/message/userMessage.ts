import { cutText } from '../markdown/clusters';
import { element, keepFocus } from '../page/dom';
import { AttachmentList } from './attachments';
import { changedParts } from './changes';
import type { MessageView } from './messageView';
import type { Attachment, ChatMessage } from './records';

/** What the user wrote, exactly as written, to the right. */
export class UserMessage implements MessageView {
    readonly node = element('article', 'message user');
    private readonly bubble = element('div', 'bubble');
    private files: AttachmentList | undefined;
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
        if (changed.has('attachments')) keepFocus(this.node, () => this.showFiles(attachments));
    }

    private showFiles(attachments: Attachment[] | undefined): void {
        if (!attachments?.length) {
            this.files?.node.remove();
            this.files = undefined;
            return;
        }
        this.files ??= new AttachmentList();
        this.files.update(attachments);
        if (!this.files.node.parentNode) this.node.prepend(this.files.node);
    }

    setAskable(): void {}

    dispose(): void {}
}
