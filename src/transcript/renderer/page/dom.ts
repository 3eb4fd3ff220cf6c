type Child = Node | string | null | undefined;

/** Makes an element. Strings become text, never markup. */
export function element<Tag extends keyof HTMLElementTagNameMap>(
    tag: Tag, className = '', ...children: Child[]
): HTMLElementTagNameMap[Tag] {
    const made = document.createElement(tag);
    if (className) made.className = className;
    for (const child of children) if (child !== null && child !== undefined) made.append(child);
    return made;
}

/** A button that says what it does. */
export function textButton(
    className: string, label: string, action: () => void, ...before: Node[]
): HTMLButtonElement {
    const made = element('button', className, ...before, label);
    made.type = 'button';
    made.addEventListener('click', action);
    return made;
}

/** A button that shows a picture; `label` is its name for the pointer and for screen readers. */
export function iconButton(
    className: string, label: string, picture: Node, action: () => void
): HTMLButtonElement {
    const made = element('button', className, picture);
    made.type = 'button';
    made.setAttribute('aria-label', label);
    made.title = label;
    made.addEventListener('click', action);
    return made;
}
