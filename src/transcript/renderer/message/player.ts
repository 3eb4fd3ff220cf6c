import type { NearWindow } from '../markdown/nearWindow';
import { element, keepFocus, textButton } from '../page/dom';
import { icon } from '../page/icons';
import type { Media } from './records';

/**
 * A player for a finished video or song, loaded when it comes near the window. `failure` makes what stands in
 * its place when it cannot be played, with the given button. Add only addresses that the page may load.
 */
export class Player {
    readonly node = element('div');
    private readonly media: HTMLMediaElement;
    private near = false;
    private retried = false;

    constructor(media: Media, private source: string, window: NearWindow,
        private readonly failure: (remedy: HTMLElement | null) => HTMLElement) {
        this.media = mediaElement(media);
        this.media.addEventListener('error', () => this.failed());
        this.show(this.media);
        window.when(this.node, () => {
            this.near = true;
            this.load();
        });
    }

    /** The same is to be had elsewhere. What has begun to play goes on as it is. */
    moveTo(source: string): void {
        if (source === this.source) return;
        this.source = source;
        this.retried = false;
        const started = this.media.isConnected && (!this.media.paused || this.media.currentTime > 0);
        if (this.near && !started) this.load();
    }

    private load(): void {
        this.show(this.media);
        this.media.src = this.source;
    }

    private failed(): void {
        if (this.media.getAttribute('src') !== this.source) {
            const { currentTime } = this.media;
            this.load();
            this.media.currentTime = currentTime;
            return;
        }
        const again = this.retried ? null : textButton('plain-button', 'Try again', () => this.retry());
        this.show(this.failure(again));
    }

    private retry(): void {
        this.retried = true;
        this.load();
        this.media.focus();
    }

    private show(now: HTMLElement): void {
        // The screen keeps its place while the video has the whole window.
        this.node.classList.toggle('screen', now instanceof HTMLVideoElement);
        if (this.node.firstChild !== now) keepFocus(this.node, () => this.node.replaceChildren(now));
    }
}

function mediaElement({ type, prompt }: Media): HTMLMediaElement {
    const made = type === 'video' ? element('video', 'video') : element('audio', 'song');
    if (made instanceof HTMLVideoElement) {
        made.playsInline = true;
        made.disablePictureInPicture = true;
    }
    made.controls = true;
    // Saving has its own button, which asks for a place.
    made.setAttribute('controlslist', 'nodownload noremoteplayback');
    made.preload = 'metadata';
    made.setAttribute('aria-label', prompt || (type === 'video' ? 'Generated video' : 'Generated song'));
    return made;
}

export function lyricsDisclosure({ lyrics }: Media): HTMLElement | null {
    if (!lyrics?.trim()) return null;
    const summary = element('summary', '', icon('chevronRight'));
    summary.dataset['label'] = 'Lyrics';
    return element('details', 'lyrics', summary, element('div', 'lyrics-text', lyrics.trim()));
}
