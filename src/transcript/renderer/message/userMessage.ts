import { cutText } from '../markdown/clusters';
import { endOfPart, LONG_TEXT, PART } from '../markdown/textParts';
import { element, keepFocus } from '../page/dom';
import { AttachmentList } from './attachments';
import { changedParts } from './changes';
import type { MessageView } from './messageView';
import type { Attachment, ChatMessage } from './records';

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
        const long = text.length > LONG_TEXT;
        this.bubble.classList.toggle('long', long);
        const partNode = (part: string) => element('div', 'part', part);
        this.bubble.replaceChildren(...(long ? partsOf(text).map(partNode) : cutText(text)));
    }

    setAskable(): void {}

    dispose(): void {}
}

/** Parts of some lines each; a long line is divided. */
function partsOf(text: string): string[] {
    const lines = text.match(/[^\n]*\n|[^\n]+$/g) ?? [];
    const parts: string[] = [];
    let part = '';
    let count = 0;
    const endPart = (): void => {
        if (part) parts.push(part);
        part = '';
        count = 0;
    };
    for (const line of lines) {
        if (count === LINES_PER_PART || part.length + line.length > PART) endPart();
        let rest = line;
        while (rest.length > PART) {
            const end = endOfPart(rest, PART);
            parts.push(rest.slice(0, end));
            rest = rest.slice(end);
        }
        part += rest;
        count += 1;
    }
    endPart();
    return parts;
}
