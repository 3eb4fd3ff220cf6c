import { isLocalImage } from '../markdown/linkPolicy';
import { element } from '../page/dom';
import { icon } from '../page/icons';
import { sameValue } from './changes';
import type { Attachment } from './records';
import { Thumbnail } from './thumbnail';
import { shortened } from './shortened';

/** Characters of a name that are drawn, more than a file system lets one have. */
const LONGEST_NAME = 255;

/** The files of a user's message, above the text: pictures side by side, everything else as chips. */
export class AttachmentList {
    readonly node = element('ul', 'attachments');
    private readonly items: AttachmentItem[] = [];

    constructor() {
        this.node.setAttribute('aria-label', 'Attachments');
    }

    /** A file that is still there keeps its node. */
    update(attachments: Attachment[]): void {
        for (const { node } of this.items.splice(attachments.length)) node.remove();
        attachments.forEach((attachment, index) => this.itemAt(index).update(attachment));
        const pictures = this.items.filter(({ isPicture }) => isPicture);
        // A single picture may be larger; several are a row of equals.
        for (const { node } of pictures) node.classList.toggle('alone', pictures.length === 1);
    }

    private itemAt(index: number): AttachmentItem {
        let item = this.items[index];
        if (!item) {
            item = new AttachmentItem();
            this.items.push(item);
            this.node.append(item.node);
        }
        return item;
    }
}

class AttachmentItem {
    readonly node = element('li');
    private shown: Attachment | undefined;
    private thumbnail: Thumbnail | undefined;

    get isPicture(): boolean {
        return this.node.classList.contains('picture-item');
    }

    update(attachment: Attachment): void {
        const before = this.shown;
        if (sameValue(before, attachment)) return;
        this.shown = attachment;
        const source = pictureSource(attachment);
        if (source === null) {
            this.thumbnail = undefined;
            const isGone = attachment.dropped && !(attachment.url ?? attachment.dataUrl);
            this.showChip(isGone ? 'Only the name was kept' : '');
        } else if (this.thumbnail && before?.name === attachment.name) {
            if (source === pictureSource(before)) return;
            this.node.className = 'picture-item';
            this.thumbnail.moveTo(source);
        } else {
            this.node.className = 'picture-item';
            this.thumbnail = new Thumbnail(source, attachment.name, 'thumbnail', () => {
                this.node.className = '';
                return chip(this.shown!, 'Can’t be shown');
            });
            this.node.replaceChildren(this.thumbnail.opener);
        }
    }

    private showChip(hint: string): void {
        this.node.className = '';
        this.node.replaceChildren(chip(this.shown!, hint));
    }
}

/** Where the page may load a picture from; null for what is no picture, or out of its reach. */
function pictureSource({ mediaType, url, dataUrl }: Attachment): string | null {
    const source = url ?? dataUrl;
    return mediaType.startsWith('image/') && isLocalImage(source) ? source : null;
}

function chip({ name, mediaType }: Attachment, hint: string): HTMLElement {
    const made = element('span', hint ? 'attachment gone' : 'attachment', symbol(mediaType),
        element('span', 'attachment-text',
            element('span', 'attachment-name', shortened(name, LONGEST_NAME)),
            hint ? element('span', 'attachment-hint', hint) : null));
    made.title = name;
    return made;
}

function symbol(mediaType: string): HTMLElement {
    if (mediaType === 'application/pdf') return element('span', 'attachment-symbol pdf', 'PDF');
    return element('span', 'attachment-symbol', icon(mediaType.startsWith('image/') ? 'image' : 'file'));
}
