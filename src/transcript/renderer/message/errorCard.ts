import { element, textButton } from '../page/dom';
import type { HostPort } from '../page/hostPort';
import type { MessageError } from './records';

/** A failure where the answer would be, with the one button that helps. */
export function errorCard(error: MessageError, port: HostPort, mayAskAgain: boolean): HTMLElement {
    const card = element('div', error.code === 'STOPPED' ? 'error-card quiet' : 'error-card',
        element('p', '', error.message), remedy(error.code, port, mayAskAgain));
    card.setAttribute('role', 'group');
    card.setAttribute('aria-label', 'Problem');
    return card;
}

function remedy(code: string | undefined, port: HostPort, mayAskAgain: boolean): HTMLElement | null {
    if (code === 'SIGNED_OUT') {
        return textButton('plain-button', 'Sign in', () => port.post({ type: 'signIn' }));
    }
    return mayAskAgain ? textButton('plain-button', 'Ask again', () => port.post({ type: 'retry' })) : null;
}
