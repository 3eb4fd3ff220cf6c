import { afterPaint } from './afterPaint';
import { element } from './dom';

/** Messages that are taken out of the page at once; more take longer than a picture may wait. */
const DROPPED_AT_ONCE = 30;

/** Points that a message takes by the style sheet until it has been seen. */
const UNSEEN_HEIGHT = 266;

/** The element that holds the messages of one chat. */
export function messageList(): HTMLElement {
    return element('div', 'messages');
}

/**
 * A box for messages that come into the page together: the engine comes by each box that stands beside the last
 * message at every layout, and a chat has many messages.
 */
export function batchOf(messages: HTMLElement[]): HTMLElement {
    const batch = element('div', 'batch', ...messages);
    estimateHeight(batch);
    return batch;
}

function estimateHeight(batch: HTMLElement): void {
    batch.style.containIntrinsicSize = `auto ${batch.childElementCount * UNSEEN_HEIGHT}px`;
}

export function firstMessage(list: Element): Element | null {
    return innermostFirst(list.firstElementChild);
}

/** The message behind `message`, or null. */
export function nextMessage(message: Element): Element | null {
    return innermostFirst(message.nextElementSibling ?? batchAround(message)?.nextElementSibling ?? null);
}

/** The message before `message`, or null. */
export function previousMessage(message: Element): Element | null {
    const before = message.previousElementSibling ?? batchAround(message)?.previousElementSibling ?? null;
    return before && isBatch(before) ? before.lastElementChild : before;
}

export function removeMessage(message: Element): void {
    const batch = batchAround(message);
    message.remove();
    if (!batch) return;
    if (batch.hasChildNodes()) estimateHeight(batch);
    else batch.remove();
}

/** Puts an empty list in the place of `left`, which goes out of sight at once and out of the page bit by bit. */
export function replaceList(left: HTMLElement): HTMLElement {
    const list = messageList();
    left.before(list);
    left.hidden = true;
    const isShort = left.childElementCount <= DROPPED_AT_ONCE && !left.querySelector(':scope > .batch');
    if (isShort) left.remove();
    else void afterPaint().then(() => drop(left));
    return list;
}

function drop(list: HTMLElement): void {
    for (let count = 0; count < DROPPED_AT_ONCE; count += 1) {
        const last = list.lastElementChild;
        if (!last) {
            list.remove();
            return;
        }
        // The last message of a batch, or a batch that has none any more.
        (last.lastElementChild && isBatch(last) ? last.lastElementChild : last).remove();
    }
    void afterPaint().then(() => drop(list));
}

function innermostFirst(found: Element | null): Element | null {
    return found && isBatch(found) ? found.firstElementChild : found;
}

function batchAround({ parentElement }: Element): HTMLElement | null {
    return parentElement && isBatch(parentElement) ? parentElement : null;
}

function isBatch(element: Element): boolean {
    return element.classList.contains('batch');
}
