import { element, iconButton } from './dom';
import { icon, type IconName } from './icons';

/** What opens a picture of the chat that is shown. */
const OPENERS = '.messages:not([hidden]) .opens-large';

/** Shows a picture of the transcript large, over the page, and the ones before and after it. */
export class Lightbox {
    private readonly picture = element('img', 'lightbox-picture');
    private readonly caption = element('p', 'lightbox-caption');
    private readonly previous = button('previous', 'Previous picture', 'chevronLeft', () => this.step(-1));
    private readonly next = button('next', 'Next picture', 'chevronRight', () => this.step(1));
    private readonly closer = button('close', 'Close', 'close', () => this.close());
    private readonly dialog = element('dialog', 'lightbox', this.picture, this.caption, this.closer,
        this.previous, this.next);
    private opener: HTMLElement | undefined;
    private openers: HTMLElement[] = [];
    /** Index of the opener whose picture is shown. */
    private shown = 0;

    constructor(private readonly container: HTMLElement) {
        this.dialog.setAttribute('aria-label', 'Picture');
        this.dialog.addEventListener('keydown', (event) => this.keyPressed(event));
        this.dialog.addEventListener('click', ({ target }) => {
            if (target === this.dialog || target === this.picture) this.close();
        });
        // However it was closed.
        this.dialog.addEventListener('close', () => this.closed());
    }

    close(): void {
        if (this.dialog.open) this.dialog.close();
    }

    open(opener: HTMLElement): void {
        this.opener = opener;
        this.openers = [...this.container.querySelectorAll<HTMLElement>(OPENERS)];
        this.show(this.openers.indexOf(opener));
        document.documentElement.classList.add('has-lightbox');
        document.body.append(this.dialog);
        this.dialog.showModal();
        this.closer.focus({ preventScroll: true });
    }

    private show(index: number): void {
        const opener = this.openers[index];
        if (!opener) return;
        this.shown = index;
        const name = opener.getAttribute('aria-label') ?? '';
        this.picture.src = opener.querySelector('img')?.src ?? '';
        this.picture.alt = name;
        this.caption.textContent = name;
        this.previous.disabled = index === 0;
        this.next.disabled = index === this.openers.length - 1;
        this.previous.hidden = this.next.hidden = this.openers.length < 2;
    }

    private step(by: number): void {
        this.show(this.shown + by);
        if (document.activeElement?.matches(':disabled')) this.closer.focus();
    }

    private keyPressed(event: KeyboardEvent): void {
        switch (event.key) {
        case 'Escape': this.close(); break;
        case 'ArrowLeft': this.step(-1); break;
        case 'ArrowRight': this.step(1); break;
        case 'Tab': this.moveFocus(event.shiftKey ? -1 : 1); break;
        default: return;
        }
        event.preventDefault();
        event.stopPropagation();
    }

    /** Round and round within the dialog: beyond its last button the window around the page would be next. */
    private moveFocus(by: number): void {
        const buttons = [this.closer, this.previous, this.next]
            .filter(({ disabled, hidden }) => !disabled && !hidden);
        const at = buttons.indexOf(document.activeElement as HTMLButtonElement);
        buttons[(at + by + buttons.length) % buttons.length]!.focus();
    }

    private closed(): void {
        document.documentElement.classList.remove('has-lightbox');
        this.dialog.remove();
        this.picture.removeAttribute('src');
        this.openers = [];
        if (this.opener?.isConnected) this.opener.focus({ preventScroll: true });
        this.opener = undefined;
    }
}

function button(place: string, name: string, sign: IconName, action: () => void): HTMLButtonElement {
    return iconButton(`icon-button lightbox-${place}`, name, icon(sign), action);
}
