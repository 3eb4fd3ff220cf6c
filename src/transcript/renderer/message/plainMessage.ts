import { element } from '../page/dom';
import type { MessageView } from './messageView';
import type { ChatMessage } from './records';

/** A message that could not be drawn, as its source: nothing that was said is lost with it. */
export class PlainMessage implements MessageView {
    readonly node = element('article', 'message answer');
    private readonly text = element('div', 'verbatim');

    constructor() {
        this.node.setAttribute('aria-label', 'Message');
        this.node.append(this.text);
    }

    update({ content, error }: ChatMessage): void {
        this.text.textContent = [content, error?.message].filter(Boolean).join('\n\n');
    }

    setAskable(): void {}

    dispose(): void {}
}
