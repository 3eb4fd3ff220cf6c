import { afterPaint } from './afterPaint';
import { element } from './dom';

/** Messages that are taken out of the page at once; more take longer than a picture may wait. */
const DROPPED_AT_ONCE = 30;

/** The element that holds the messages of one chat. */
export function messageList(): HTMLElement {
    return element('div', 'messages');
}

/** Puts an empty list in the place of `left`, which goes out of sight at once and out of the page bit by bit. */
export function replaceList(left: HTMLElement): HTMLElement {
    const list = messageList();
    for (const player of left.querySelectorAll<HTMLMediaElement>('audio, video')) player.pause();
    left.before(list);
    left.hidden = true;
    drop(left);
    return list;
}

function drop(list: HTMLElement): void {
    if (list.childElementCount <= DROPPED_AT_ONCE) {
        list.remove();
        return;
    }
    void afterPaint().then(() => {
        for (const node of [...list.children].slice(-DROPPED_AT_ONCE)) node.remove();
        drop(list);
    });
}
