import { element } from '../page/dom';

/**
 * A button that shows a picture and opens it large. `instead` makes what stands in its place when the
 * picture cannot be loaded. Add only addresses that the page may load.
 */
export function thumbnail(source: string, name: string, className: string, instead: () => HTMLElement): HTMLButtonElement {
    const picture = element('img');
    picture.alt = '';
    picture.decoding = 'async';
    picture.loading = 'lazy';
    picture.draggable = false;
    const opener = element('button', `opens-large ${className}`, picture);
    opener.type = 'button';
    opener.title = name;
    opener.setAttribute('aria-label', name);
    opener.setAttribute('aria-haspopup', 'dialog');
    picture.addEventListener('error', () => opener.replaceWith(instead()), { once: true });
    picture.src = source;
    return opener;
}
