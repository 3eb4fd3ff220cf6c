import type { Lightbox } from './lightbox';

/** Opens pictures of the transcript large. What shows them is loaded with the first one. */
export class PictureOpener {
    private lightbox: Promise<Lightbox> | undefined;
    /** The picture that was asked for last. */
    private opener: HTMLElement | undefined;

    constructor(private readonly container: HTMLElement) {
        container.addEventListener('click', ({ target }) => {
            const opener = target instanceof Element ? target.closest<HTMLElement>('.opens-large') : null;
            if (opener) void this.open(opener);
        });
    }

    close(): void {
        this.opener = undefined;
        void this.lightbox?.then((lightbox) => lightbox.close());
    }

    private async open(opener: HTMLElement): Promise<void> {
        this.opener = opener;
        this.lightbox ??= import('./lightbox').then((loaded) => new loaded.Lightbox(this.container));
        const lightbox = await this.lightbox;
        // Another chat may be shown by now.
        if (opener === this.opener && opener.isConnected) lightbox.open(opener);
    }
}
