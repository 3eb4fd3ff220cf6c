import { isLocalImage } from '../markdown/linkPolicy';
import { element } from '../page/dom';
import { icon } from '../page/icons';
import type { Attachment } from './records';
import { thumbnail } from './thumbnail';

/** The files of a user's message, above the text: pictures side by side, everything else as chips. */
export function attachmentList(attachments: Attachment[]): HTMLElement {
    const items = attachments.map((attachment) => item(attachment));
    const list = element('ul', 'attachments', ...items);
    const pictures = items.filter((entry) => entry.classList.contains('picture-item'));
    // A single picture may be larger; several are a row of equals.
    if (pictures.length === 1) pictures[0]!.classList.add('alone');
    list.setAttribute('aria-label', 'Attachments');
    return list;
}

function item(attachment: Attachment): HTMLElement {
    const { name, mediaType, url, dataUrl, dropped } = attachment;
    const source = url ?? dataUrl;
    if (!mediaType.startsWith('image/') || !isLocalImage(source)) {
        return element('li', '', chip(attachment, dropped && !source ? 'Only the name was kept' : ''));
    }
    const made = element('li', 'picture-item');
    made.append(thumbnail(source, name, 'thumbnail', () => {
        made.className = '';
        return chip(attachment, 'Can’t be shown');
    }));
    return made;
}

function chip({ name, mediaType }: Attachment, hint: string): HTMLElement {
    const made = element('span', hint ? 'attachment gone' : 'attachment', symbol(mediaType),
        element('span', 'attachment-text',
            element('span', 'attachment-name', name),
            hint ? element('span', 'attachment-hint', hint) : null));
    made.title = name;
    return made;
}

function symbol(mediaType: string): HTMLElement {
    if (mediaType === 'application/pdf') return element('span', 'attachment-symbol pdf', 'PDF');
    return element('span', 'attachment-symbol', icon(mediaType.startsWith('image/') ? 'image' : 'file'));
}
