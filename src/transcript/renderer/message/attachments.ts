import { isLocalImage } from '../markdown/linkPolicy';
import { element } from '../page/dom';
import { icon } from '../page/icons';
import type { Attachment } from './records';

/** The files of a user's message, as chips above the text. */
export function attachmentList(attachments: Attachment[]): HTMLElement {
    const list = element('ul', 'attachments', ...attachments.map(chip));
    list.setAttribute('aria-label', 'Attachments');
    return list;
}

function chip(attachment: Attachment): HTMLElement {
    const { name, mediaType } = attachment;
    const made = element('li', 'attachment', preview(attachment), element('span', 'attachment-name', name));
    made.title = name;
    made.dataset['kind'] = mediaType === 'application/pdf' ? 'pdf' : 'other';
    return made;
}

function preview({ mediaType, url, dataUrl }: Attachment): HTMLElement {
    const source = url ?? dataUrl;
    if (mediaType.startsWith('image/') && isLocalImage(source)) {
        const picture = element('img', 'attachment-preview');
        picture.src = source;
        picture.alt = '';
        picture.decoding = 'async';
        return picture;
    }
    const isPdf = mediaType === 'application/pdf';
    const glyph = isPdf ? 'PDF' : icon(mediaType.startsWith('image/') ? 'image' : 'file');
    return element('span', isPdf ? 'attachment-preview pdf' : 'attachment-preview', glyph);
}
