import { showCopied } from '../page/copyFeedback';
import { element, iconButton } from '../page/dom';
import { icon } from '../page/icons';
import type { Services } from '../page/services';
import type { ShownAnswer } from './shownAnswer';
import { SpeakButton } from './speakButton';

const ORDER = ['copy', 'speak', 'save', 'askAgain'] as const;

export type AnswerAction = typeof ORDER[number];

/** What can be done with an answer. A button that stays keeps its node, and with it the focus. */
export class AnswerActions {
    readonly node = element('div', 'actions');
    private readonly buttons = new Map<AnswerAction, HTMLButtonElement>();
    private speakButton: SpeakButton | undefined;

    constructor(private readonly services: Services, private readonly answer: ShownAnswer) {}

    show(wanted: ReadonlySet<AnswerAction>): void {
        let next: HTMLButtonElement | null = null;
        for (const action of [...ORDER].reverse()) {
            if (!wanted.has(action)) {
                this.remove(action);
                continue;
            }
            const button = this.buttons.get(action) ?? this.make(action);
            if (!button.isConnected && button.parentNode !== this.node) this.node.insertBefore(button, next);
            next = button;
        }
    }

    dispose(): void {
        this.speakButton?.dispose();
    }

    private remove(action: AnswerAction): void {
        this.buttons.get(action)?.remove();
        this.buttons.delete(action);
        if (action !== 'speak') return;
        this.speakButton?.dispose();
        this.speakButton = undefined;
    }

    private make(action: AnswerAction): HTMLButtonElement {
        const button = this.makers[action]();
        this.buttons.set(action, button);
        return button;
    }

    private readonly makers: Record<AnswerAction, () => HTMLButtonElement> = {
        copy: () => {
            const button = iconButton('icon-button', 'Copy', icon('copy'), () => {
                this.services.port.post({ type: 'copy', text: this.answer.message.content });
                showCopied(button, this.services.announcer);
            });
            return button;
        },
        speak: () => {
            const { port, audio, steps } = this.services;
            const { id } = this.answer.message;
            this.speakButton = new SpeakButton(id, audio, steps,
                () => port.post({ type: 'speak', id, text: this.answer.spokenText() }));
            return this.speakButton.node;
        },
        save: () => iconButton('icon-button', 'Save', icon('save'),
            () => this.services.port.post({ type: 'saveMedia', id: this.answer.message.id })),
        askAgain: () => iconButton('icon-button', 'Ask again', icon('askAgain'),
            () => this.services.port.post({ type: 'retry' })),
    };
}
