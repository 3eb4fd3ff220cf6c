import { allowedLink, isLocalImage } from '../markdown/linkPolicy';
import { element, textButton } from '../page/dom';
import type { HostPort } from '../page/hostPort';
import { icon } from '../page/icons';
import type { Media } from './records';

const NAMES: Record<string, string> = { image: 'image', video: 'video', music: 'song' };

/** What the service generated: a picture, or a card that says how far the work is. */
export function mediaCard(media: Media, port: HostPort): HTMLElement {
    const name = NAMES[media.type] ?? 'file';
    if (media.status === 'error') {
        return element('div', 'media-card failed', media.message || `The ${name} could not be made.`);
    }
    if (media.status === 'pending') {
        return element('div', 'media-card', element('span', 'mark current'), `Making your ${name}…`);
    }
    if (media.type === 'image' && isLocalImage(media.url)) return picture(media.url, media.prompt);
    const link = allowedLink(media.url ?? '');
    const open = link
        ? textButton('plain-button', 'Open', () => port.post({ type: 'openLink', url: link }),
            icon('externalLink'))
        : null;
    return element('div', 'media-card', element('span', 'media-text', `Your ${name} is ready.`), open);
}

function picture(source: string, prompt: string | undefined): HTMLElement {
    const image = element('img', 'picture');
    image.src = source;
    image.alt = prompt ?? 'Generated image';
    image.decoding = 'async';
    return image;
}
