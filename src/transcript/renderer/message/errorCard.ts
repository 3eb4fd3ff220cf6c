import { element, textButton } from '../page/dom';
import type { HostPort } from '../page/hostPort';
import type { MessageError } from './records';

/** A failure where the answer would be, with the one button that helps. */
export function errorCard(error: MessageError, port: HostPort, mayAskAgain: boolean): HTMLElement {
    const card = element('div', error.code === 'STOPPED' ? 'error-card quiet' : 'error-card',
        element('p', '', error.message), remedy(error.code, port, mayAskAgain));
    card.setAttribute('role', 'group');
    card.setAttribute('aria-label', error.code === 'STOPPED' ? 'Stopped' : 'Problem');
    return card;
}

function remedy(code: string | undefined, port: HostPort, mayAskAgain: boolean): HTMLElement | null {
    switch (code) {
    case 'SIGNED_OUT': return textButton('plain-button', 'Sign in', () => port.post({ type: 'signIn' }));
    case 'INSUFFICIENT_CREDITS':
        return textButton('plain-button', 'Credits', () => port.post({ type: 'openSheet', sheet: 'credits' }));
    default:
        return mayAskAgain ? textButton('plain-button', 'Ask again', () => port.post({ type: 'retry' })) : null;
    }
}
