import { cutText } from '../markdown/clusters';
import { element, keepFocus } from '../page/dom';
import { AttachmentList } from './attachments';
import { changedParts } from './changes';
import type { MessageView } from './messageView';
import type { Attachment, ChatMessage } from './records';

/** Characters from which on a text is as wide as it may be, and is laid out part by part. */
const LONG = 4_000;
const LINES_PER_PART = 40;

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
            this.showText(content);
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

    private showText(text: string): void {
        const long = text.length > LONG;
        this.bubble.classList.toggle('long', long);
        const partNode = (part: string) => element('div', 'part', ...cutText(part));
        this.bubble.replaceChildren(...(long ? partsOf(text).map(partNode) : cutText(text)));
    }

    setAskable(): void {}

    dispose(): void {}
}

function partsOf(text: string): string[] {
    const lines = text.match(/[^\n]*\n|[^\n]+$/g) ?? [];
    const parts: string[] = [];
    for (let at = 0; at < lines.length; at += LINES_PER_PART) {
        parts.push(lines.slice(at, at + LINES_PER_PART).join(''));
    }
    return parts;
}
