import { element } from '../page/dom';
import { icon } from '../page/icons';
import type { Media } from './records';

/**
 * A player for a finished video or song; `source` is an address that the page may load. `instead` makes what
 * stands in its place when that cannot be played.
 */
export function player({ type, prompt }: Media, source: string, instead: () => HTMLElement): HTMLElement {
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
    made.addEventListener('error', () => made.replaceWith(instead()), { once: true });
    made.src = source;
    return made;
}

export function lyricsDisclosure({ lyrics }: Media): HTMLElement | null {
    if (!lyrics?.trim()) return null;
    const summary = element('summary', '', icon('chevronRight'));
    summary.dataset['label'] = 'Lyrics';
    return element('details', 'lyrics', summary, element('div', 'lyrics-text', lyrics.trim()));
}
