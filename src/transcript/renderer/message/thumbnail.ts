import { element, keepFocus } from '../page/dom';

/**
 * A button that shows a picture and opens it large. `instead` makes what stands in its place when the
 * picture cannot be loaded. Add only addresses that the page may load.
 */
export class Thumbnail {
    readonly picture = element('img');
    readonly opener: HTMLButtonElement;
    private shown: HTMLElement;

    constructor(source: string, name: string, className: string, instead: () => HTMLElement) {
        const { picture } = this;
        picture.alt = '';
        picture.decoding = 'async';
        picture.loading = 'lazy';
        picture.draggable = false;
        this.opener = element('button', `opens-large ${className}`, picture);
        this.opener.type = 'button';
        this.opener.title = name;
        this.opener.setAttribute('aria-label', name);
        this.opener.setAttribute('aria-haspopup', 'dialog');
        this.shown = this.opener;
        picture.addEventListener('error', () => this.show(instead()));
        picture.src = source;
    }

    /** The same picture is to be had elsewhere. What is on the screen stays there until that is loaded. */
    moveTo(source: string): void {
        if (this.picture.getAttribute('src') === source) return;
        this.picture.src = source;
        this.show(this.opener);
    }

    private show(now: HTMLElement): void {
        const { shown } = this;
        this.shown = now;
        const { parentElement } = shown;
        if (parentElement && shown !== now) keepFocus(parentElement, () => shown.replaceWith(now));
    }
}
