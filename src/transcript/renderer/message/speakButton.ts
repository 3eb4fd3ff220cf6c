import type { AudioState, AudioStates } from '../page/audioStates';
import { element, iconButton } from '../page/dom';
import { icon } from '../page/icons';
import type { Ticker } from '../page/ticker';

const NAMES: Record<AudioState, string> = {
    idle: 'Read aloud',
    loading: 'Preparing to read aloud, stop',
    playing: 'Stop reading aloud',
};

/** Dots of the indicator that steps while the voice is being made. */
const DOTS = 3;

/** Reads an answer aloud and stops reading it. */
export class SpeakButton {
    readonly node: HTMLButtonElement;
    private readonly unwatch: () => void;
    private stopStepping: (() => void) | undefined;

    constructor(messageId: string, audio: AudioStates, private readonly ticker: Ticker, speak: () => void) {
        this.node = iconButton('icon-button speak', NAMES.idle, icon('speak'), speak);
        this.unwatch = audio.watch(messageId, (state) => this.show(state));
    }

    dispose(): void {
        this.unwatch();
        this.stopStepping?.();
    }

    private show(state: AudioState): void {
        const { node } = this;
        if (node.dataset['state'] === state) return;
        node.dataset['state'] = state;
        node.setAttribute('aria-label', NAMES[state]);
        node.title = NAMES[state];
        this.stopStepping?.();
        this.stopStepping = undefined;
        if (state === 'loading') this.showStepping();
        else node.replaceChildren(icon(state === 'playing' ? 'stop' : 'speak'));
    }

    private showStepping(): void {
        const dots = Array.from({ length: DOTS }, () => element('span', 'dot'));
        this.node.replaceChildren(element('span', 'dots', ...dots));
        this.stopStepping = this.ticker.listen((step) => {
            dots.forEach((dot, index) => dot.classList.toggle('on', index === step % DOTS));
        }, { moves: true });
    }
}
