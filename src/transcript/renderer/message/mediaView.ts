import { allowedLink, isLocalImage } from '../markdown/linkPolicy';
import { element, textButton } from '../page/dom';
import { icon } from '../page/icons';
import { isLocalPlayable } from '../page/localFiles';
import type { Services } from '../page/services';
import { sameValue } from './changes';
import { ElapsedTime } from './elapsedTime';
import { generatedPicture } from './generatedPicture';
import { kindOf, mediaNews } from './mediaNews';
import { lyricsDisclosure, Player } from './player';
import type { Media } from './records';
import { ASK_AGAIN, RemedyButton } from './remedyButton';

/** A picture or player that can be loaded from another address without being made anew. */
interface Movable {
    moveTo(source: string): void;
}

/** What the service generated for an answer: a picture, a player, or a card that says how far the work is. */
export class MediaView {
    readonly node = element('div', 'media');
    private shown: Media | undefined;
    private elapsed: ElapsedTime | undefined;
    private remedy: RemedyButton | undefined;
    private movable: Movable | undefined;

    constructor(private readonly services: Services) {}

    /** What is there already stays: a song that plays goes on playing when its file is stored. */
    update(media: Media | undefined, mayAskAgain: boolean): void {
        if (!media || !this.takesOver(media)) this.drawAnew(media);
        this.shown = media;
        this.remedy?.show(mayAskAgain ? ASK_AGAIN : null);
    }

    dispose(): void {
        // Out of the page, it would go on being heard.
        for (const player of this.node.querySelectorAll<HTMLMediaElement>('audio, video')) player.pause();
        this.elapsed?.dispose();
        this.elapsed = undefined;
    }

    private takesOver(media: Media): boolean {
        const { shown, movable } = this;
        if (!shown) return false;
        if (sameValue(shown, media)) return true;
        if (!movable || !sameValue(withoutPlace(shown), withoutPlace(media))) return false;
        const source = localSource(media);
        if (source) movable.moveTo(source);
        return source !== null;
    }

    private drawAnew(media: Media | undefined): void {
        this.dispose();
        this.remedy = undefined;
        this.movable = undefined;
        this.node.replaceChildren(...(media ? [this.draw(media)] : []));
    }

    private draw(media: Media): HTMLElement {
        switch (media.status) {
        case 'error': return this.failure(media);
        case 'pending': return this.underWay(media);
        default: return this.result(media);
        }
    }

    private failure(media: Media): HTMLElement {
        const card = element('div', 'media-card failed', element('span', 'media-text', mediaNews(media)));
        card.setAttribute('role', 'group');
        card.setAttribute('aria-label', 'Problem');
        this.remedy = new RemedyButton(card, this.services.port);
        return card;
    }

    private underWay(media: Media): HTMLElement {
        const { startedAt } = media;
        if (startedAt !== undefined) this.elapsed = new ElapsedTime(startedAt, this.services.seconds);
        return element('div', 'media-card', element('span', 'mark current'),
            element('span', 'media-text', mediaNews(media), promptLine(media)), this.elapsed?.node);
    }

    private result(media: Media): HTMLElement {
        const source = localSource(media);
        if (source === null) return this.elsewhere(media);
        if (media.type === 'image') {
            const picture = generatedPicture(source, media.prompt ?? 'Generated image',
                () => notice(media, 'This image can’t be shown.', null));
            this.movable = picture;
            return figure(media, picture.opener);
        }
        const player = new Player(media, source, this.services.nearWindow,
            (remedy) => notice(media, `This ${kindOf(media).name} can’t be played.`, null, remedy));
        this.movable = player;
        return element('div', '', figure(media, player.node), lyricsDisclosure(media));
    }

    /** A result that the page must not load by itself, or that is gone. */
    private elsewhere(media: Media): HTMLElement {
        const { name } = kindOf(media);
        const link = allowedLink(media.url ?? '');
        if (!link) {
            const text = media.dropped ? `This ${name} was not kept.` : `This ${name} can’t be shown.`;
            return notice(media, text, promptLine(media));
        }
        const open = () => this.services.port.post({ type: 'openLink', url: link });
        return notice(media, mediaNews(media), promptLine(media),
            textButton('plain-button', 'Open', open, icon('externalLink')));
    }
}

/** Where the page may load a picture, video or song from; null when it may not. */
function localSource({ type, url }: Media): string | null {
    if (type === 'image') return isLocalImage(url) ? url : null;
    return (type === 'video' || type === 'music') && isLocalPlayable(url) ? url : null;
}

/** What of the media stays the same when its file is stored. */
function withoutPlace({ url, fileId, mediaType, ...rest }: Media): object {
    return rest;
}

function notice(
    media: Media, text: string, detail: HTMLElement | null, remedy: HTMLElement | null = null
): HTMLElement {
    return element('div', 'media-card', icon(kindOf(media).sign),
        element('span', 'media-text', text, detail), remedy);
}

function figure({ prompt }: Media, shown: HTMLElement): HTMLElement {
    return element('figure', '', shown, prompt ? element('figcaption', '', prompt) : null);
}

function promptLine({ prompt }: Media): HTMLElement | null {
    return prompt ? element('span', 'media-prompt', prompt) : null;
}
