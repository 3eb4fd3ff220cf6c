import { textButton } from '../page/dom';
import type { HostPort } from '../page/hostPort';
import type { HostMessage } from './records';

export interface Remedy {
    label: string;
    message: HostMessage;
}

export const ASK_AGAIN: Remedy = { label: 'Ask again', message: { type: 'retry' } };

/** The one button on a card that says what went wrong. It stays the same while it says the same. */
export class RemedyButton {
    private button: HTMLButtonElement | undefined;

    constructor(private readonly card: HTMLElement, private readonly port: HostPort) {}

    show(remedy: Remedy | null): void {
        if (remedy?.label === this.button?.dataset['label']) return;
        this.button?.remove();
        this.button = undefined;
        if (!remedy) return;
        this.button = textButton('plain-button', remedy.label, () => this.port.post(remedy.message));
        this.card.append(this.button);
    }
}
