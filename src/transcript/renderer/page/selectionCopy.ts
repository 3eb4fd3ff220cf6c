import { plainText } from './plainText';

export interface Copy {
    html: string;
    text: string;
}

/** What is drawn around the text of messages and is not part of what was said. */
const AROUND = 'button, svg, img, audio, video, dialog, figcaption, footer, details, .activity, .attachments, .caret, .code-head, .link-card, .media-card, .visually-hidden';
/** What a selection inside of it is still part of: a list without its items' list is none. */
const STRUCTURE = 'ul, ol, table, thead, tbody, tr';
const KEPT_ATTRIBUTES = new Set(['href', 'start']);

/** What copying `range` puts on the clipboard: what was said, without the page's own furniture. */
export function copyOf(range: Range): Copy {
    const whole = aroundFormula(range);
    const content = document.createElement('div');
    content.append(contents(whole));
    continueNumbers(content, whole);
    for (const node of content.querySelectorAll(AROUND)) node.remove();
    joinPieces(content);
    replaceFormulas(content);
    replaceTaskMarks(content);
    replaceNoteMarks(content);
    const text = plainText(content);
    unwrap(content);
    for (const element of content.querySelectorAll('*')) stripAttributes(element);
    return { html: content.innerHTML, text };
}

/** A formula is copied whole: part of a drawn one means nothing. */
function aroundFormula(range: Range): Range {
    const formula = elementOf(range.commonAncestorContainer)?.closest('.math');
    if (!formula) return range;
    const whole = document.createRange();
    whole.selectNode(formula);
    return whole;
}

function contents(range: Range): Node {
    let node: Node = range.cloneContents();
    const common = elementOf(range.commonAncestorContainer);
    if (common?.closest('pre')) {
        const pre = document.createElement('pre');
        pre.append(node);
        return pre;
    }
    if (common?.closest('.bubble')) return verbatim(node);
    for (let around = common; around?.matches(STRUCTURE); around = around.parentElement) {
        const shell = around.cloneNode(false);
        shell.appendChild(node);
        node = shell;
    }
    for (const bubble of elements(node, '.bubble')) bubble.classList.add('verbatim');
    return node;
}

/** What a user wrote keeps its line ends. */
function verbatim(node: Node): HTMLElement {
    const made = document.createElement('div');
    made.className = 'verbatim';
    made.append(node);
    return made;
}

/** A list whose beginning is not selected goes on counting from where the selection begins. */
function continueNumbers(cloned: Node, range: Range): void {
    const lists: HTMLOListElement[] = [];
    for (let item = elementOf(range.startContainer)?.closest('li'); item; item = item.parentElement?.closest('li')) {
        if (!range.commonAncestorContainer.contains(item)) break;
        const list = item.parentElement;
        if (!(list instanceof HTMLOListElement)) continue;
        const shell = list.cloneNode(false) as HTMLOListElement;
        shell.start = list.start + [...list.children].indexOf(item);
        lists.unshift(shell);
    }
    let copies = [...elements(cloned, 'ol')];
    for (const list of lists) {
        const copy = copies[0];
        if (!copy) return;
        copy.setAttribute('start', String(list.start));
        copies = [...elements(copy, 'ol')];
    }
}

/** Long lists and tables stand in the page in pieces. */
function joinPieces(content: Element): void {
    for (const box of content.querySelectorAll('.row-group, .rows')) box.replaceWith(...box.childNodes);
    for (const piece of content.querySelectorAll('.more')) {
        const before = piece.previousElementSibling;
        if (before?.tagName !== piece.tagName) continue;
        if (before instanceof HTMLTableElement) rowsOf(before).append(...rowsOf(piece as HTMLTableElement).children);
        else before.append(...piece.children);
        piece.remove();
    }
    for (const columns of content.querySelectorAll('colgroup')) columns.remove();
}

function rowsOf(table: HTMLTableElement): HTMLTableSectionElement {
    return table.tBodies[0] ?? table.createTBody();
}

function replaceFormulas(content: Element): void {
    for (const formula of content.querySelectorAll<HTMLElement>('.math:is([data-tex], [data-open-tex])')) {
        const isSource = formula.dataset['openTex'] !== undefined && !formula.querySelector('.katex');
        if (isSource) continue;
        const mark = formula.matches('.math-display') ? '$$' : '$';
        formula.replaceChildren(`${mark}${formula.dataset['tex'] ?? formula.dataset['openTex'] ?? ''}${mark}`);
    }
}

function replaceTaskMarks(content: Element): void {
    for (const mark of content.querySelectorAll('.task-mark')) {
        mark.replaceWith(mark.matches('.task-done') ? '[x] ' : '[ ] ');
    }
}

/** References to notes and the notes' numbers stand in brackets, lest they run into the words beside them. */
function replaceNoteMarks(content: Element): void {
    for (const reference of content.querySelectorAll('.note-reference')) {
        reference.replaceWith(`[${reference.textContent ?? ''}]`);
    }
    for (const number of content.querySelectorAll('.note-number')) {
        const note = number.parentElement;
        number.remove();
        (note?.querySelector('p') ?? note)?.prepend(`[${number.textContent ?? ''}] `);
    }
}

/** The page's own boxes go; what is in them stays, and what was verbatim gets line breaks. */
function unwrap(content: Element): void {
    for (const box of content.querySelectorAll('.verbatim')) {
        const lines = (box.textContent ?? '').split('\n');
        const paragraph = document.createElement('p');
        lines.forEach((line, index) => paragraph.append(...(index > 0 ? [document.createElement('br')] : []), line));
        box.replaceWith(paragraph);
    }
    for (const box of content.querySelectorAll('article, section, div, span')) box.replaceWith(...box.childNodes);
    // The only paragraph of an item is the item.
    for (const text of content.querySelectorAll('li > p:first-child')) {
        if (![...text.parentElement!.children].some((other) => other !== text && other.matches('p'))) text.replaceWith(...text.childNodes);
    }
    content.normalize();
}

function stripAttributes(element: Element): void {
    for (const name of element.getAttributeNames()) {
        if (!KEPT_ATTRIBUTES.has(name)) element.removeAttribute(name);
    }
}

function elements(node: Node, selector: string): NodeListOf<HTMLElement> {
    return (node as ParentNode).querySelectorAll<HTMLElement>(selector);
}

function elementOf(node: Node): Element | null {
    return node instanceof Element ? node : node.parentElement;
}
