import { allowedLink, isLocalImage } from '../markdown/linkPolicy';
import { element, textButton } from '../page/dom';
import { icon } from '../page/icons';
import { isLocalPlayable } from '../page/localFiles';
import type { Services } from '../page/services';
import { ElapsedTime } from './elapsedTime';
import { generatedPicture } from './generatedPicture';
import { kindOf, mediaNews } from './mediaNews';
import { lyricsDisclosure, player } from './player';
import type { Media } from './records';

/** What the service generated for an answer: a picture, a player, or a card that says how far the work is. */
export class MediaView {
    readonly node = element('div', 'media');
    private elapsed: ElapsedTime | undefined;

    constructor(private readonly services: Services) {}

    update(media: Media | undefined, mayAskAgain: boolean): void {
        this.dispose();
        this.node.replaceChildren(...(media ? [this.draw(media, mayAskAgain)] : []));
    }

    dispose(): void {
        this.elapsed?.dispose();
        this.elapsed = undefined;
    }

    private draw(media: Media, mayAskAgain: boolean): HTMLElement {
        switch (media.status) {
        case 'error': return this.failure(media, mayAskAgain);
        case 'pending': return this.underWay(media);
        default: return this.result(media);
        }
    }

    private failure(media: Media, mayAskAgain: boolean): HTMLElement {
        const remedy = mayAskAgain
            ? textButton('plain-button', 'Ask again', () => this.services.port.post({ type: 'retry' }))
            : null;
        const card = element('div', 'media-card failed', element('span', 'media-text', mediaNews(media)), remedy);
        card.setAttribute('role', 'group');
        card.setAttribute('aria-label', 'Problem');
        return card;
    }

    private underWay(media: Media): HTMLElement {
        const { name } = kindOf(media);
        if (media.startedAt !== undefined) this.elapsed = new ElapsedTime(media.startedAt, this.services.seconds);
        return element('div', 'media-card', element('span', 'mark current'),
            element('span', 'media-text', `Making your ${name}…`, promptLine(media)), this.elapsed?.node);
    }

    private result(media: Media): HTMLElement {
        const { url, prompt, type } = media;
        if (type === 'image' && isLocalImage(url)) {
            return figure(media, generatedPicture(url, prompt ?? 'Generated image', () => notice(media, 'This image can’t be shown.', null)));
        }
        if ((type === 'video' || type === 'music') && isLocalPlayable(url)) {
            const { name } = kindOf(media);
            return element('div', '', figure(media, player(media, url, () => notice(media, `This ${name} can’t be played.`, null))),
                lyricsDisclosure(media));
        }
        return this.elsewhere(media);
    }

    /** A result that the page must not load by itself, or that is gone. */
    private elsewhere(media: Media): HTMLElement {
        const { name } = kindOf(media);
        const link = allowedLink(media.url ?? '');
        if (!link) return notice(media, media.dropped ? `This ${name} was not kept.` : `This ${name} can’t be shown.`, promptLine(media));
        return notice(media, mediaNews(media), promptLine(media),
            textButton('plain-button', 'Open', () => this.services.port.post({ type: 'openLink', url: link }), icon('externalLink')));
    }
}

function notice(media: Media, text: string, detail: HTMLElement | null, remedy: HTMLElement | null = null): HTMLElement {
    return element('div', 'media-card', icon(kindOf(media).sign),
        element('span', 'media-text', text, detail), remedy);
}

function figure({ prompt }: Media, shown: HTMLElement): HTMLElement {
    return element('figure', '', shown, prompt ? element('figcaption', '', prompt) : null);
}

function promptLine({ prompt }: Media): HTMLElement | null {
    return prompt ? element('span', 'media-prompt', prompt) : null;
}
