import { element, showText } from '../page/dom';
import type { HostPort } from '../page/hostPort';
import type { MessageError } from './records';
import { ASK_AGAIN, RemedyButton, type Remedy } from './remedyButton';

/** A failure where the answer would be, with the one button that helps. */
export class ErrorCard {
    readonly node = element('div', 'error-card');
    private readonly text = element('p');
    private readonly remedy: RemedyButton;

    constructor(port: HostPort) {
        this.remedy = new RemedyButton(this.node, port);
        this.node.setAttribute('role', 'group');
        this.node.append(this.text);
    }

    update({ code, message }: MessageError, mayAskAgain: boolean): void {
        const stopped = code === 'STOPPED';
        this.node.classList.toggle('quiet', stopped);
        this.node.setAttribute('aria-label', stopped ? 'Stopped' : 'Problem');
        showText(this.text, message);
        this.remedy.show(remedyFor(code, mayAskAgain));
    }
}

function remedyFor(code: string | undefined, mayAskAgain: boolean): Remedy | null {
    switch (code) {
    case 'SIGNED_OUT': return { label: 'Sign in', message: { type: 'signIn' } };
    case 'INSUFFICIENT_CREDITS':
        return { label: 'Credits', message: { type: 'openSheet', sheet: 'credits' } };
    default: return mayAskAgain ? ASK_AGAIN : null;
    }
}
