import { Thumbnail } from './thumbnail';

/** Points; the same as in the style sheet. */
const WIDEST = 440;
const TALLEST = 560;

/** A generated picture in its own shape, which opens large. */
export function generatedPicture(source: string, name: string, instead: () => HTMLElement): Thumbnail {
    const thumbnail = new Thumbnail(source, name, 'picture', instead);
    const { picture, opener } = thumbnail;
    picture.addEventListener('load', () => {
        const shape = picture.naturalWidth / picture.naturalHeight;
        if (!Number.isFinite(shape) || shape <= 0) return;
        opener.style.aspectRatio = String(shape);
        opener.style.width = `min(100%, ${Math.round(Math.min(WIDEST, TALLEST * shape))}px)`;
    });
    return thumbnail;
}
