import { cutText } from '../markdown/clusters';

type Child = Node | string | null | undefined;

/** Makes an element. Strings become text, never markup. */
export function element<Tag extends keyof HTMLElementTagNameMap>(
    tag: Tag, className = '', ...children: Child[]
): HTMLElementTagNameMap[Tag] {
    const made = document.createElement(tag);
    if (className) made.className = className;
    for (const child of children) {
        if (typeof child === 'string') made.append(...cutText(child));
        else if (child) made.append(child);
    }
    return made;
}

/** Makes `text` what an element says, and leaves an element alone that says so already. */
export function showText(node: Element, text: string): void {
    if (node.textContent !== text) node.replaceChildren(...cutText(text));
}

/** A button that says what it does. */
export function textButton(
    className: string, label: string, action: () => void, ...before: Node[]
): HTMLButtonElement {
    const made = button(className, action, ...before);
    setLabel(made, label);
    return made;
}

/** A button that shows a picture; `label` is its name for the pointer and for screen readers. */
export function iconButton(
    className: string, label: string, picture: Node, action: () => void
): HTMLButtonElement {
    const made = button(className, action, picture);
    made.setAttribute('aria-label', label);
    made.title = label;
    return made;
}

/**
 * Writes a label on an element. The style sheet draws it, so that it is neither found by a search nor
 * copied with the text around it.
 */
export function setLabel(labelled: HTMLElement, label: string): void {
    labelled.dataset['label'] = label;
    labelled.setAttribute('aria-label', label);
}

/**
 * Makes a change in a message. When the control that has the focus goes with it, the message itself gets the
 * focus, so that the keyboard goes on from there and not from the top of the page.
 */
export function keepFocus(place: Element, change: () => void): void {
    const held = place.contains(document.activeElement);
    change();
    if (!held || place.contains(document.activeElement)) return;
    const message = place.closest('article');
    if (message) focusMessage(message);
}

/** Gives the focus to a message, which is no stop of the keyboard otherwise. */
export function focusMessage(message: HTMLElement): void {
    message.tabIndex = -1;
    message.addEventListener('blur', () => message.removeAttribute('tabindex'), { once: true });
    message.focus({ preventScroll: true });
}

function button(className: string, action: () => void, ...children: Node[]): HTMLButtonElement {
    const made = element('button', className, ...children);
    made.type = 'button';
    made.addEventListener('click', action);
    return made;
}
