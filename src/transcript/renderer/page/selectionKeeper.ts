/**
 * Changes parts of the page and keeps a selection that begins or ends there. To ask for the selection makes
 * the engine lay out all that has changed, so that this is done only while there may be one.
 */
export class SelectionKeeper {
    private maySelect = false;

    constructor() {
        document.addEventListener('selectstart', () => {
            this.maySelect = true;
        });
        document.addEventListener('selectionchange', () => {
            this.maySelect = getSelection()?.isCollapsed === false;
        });
    }

    /** The selection stays at the same character when the text is the same afterwards, else around the whole node. */
    keep(node: Element, change: () => void): void {
        const selection = this.maySelect ? getSelection() : null;
        if (!selection || selection.isCollapsed || !selection.containsNode(node, true)) change();
        else changeWithin(selection, node, change);
    }
}

function changeWithin(selection: Selection, node: Element, change: () => void): void {
    const range = selection.getRangeAt(0);
    const isBackward = range.startContainer !== selection.anchorNode || range.startOffset !== selection.anchorOffset;
    const kept = range.cloneRange();
    const start = textOffset(node, range.startContainer, range.startOffset);
    const end = textOffset(node, range.endContainer, range.endOffset);
    const text = node.textContent;
    change();
    const isSame = node.textContent === text;
    if (start !== null) {
        if (isSame) kept.setStart(...pointAt(node, start));
        else kept.setStartBefore(node);
    }
    if (end !== null) {
        if (isSame) kept.setEnd(...pointAt(node, end));
        else kept.setEndAfter(node);
    }
    const [anchor, focus] = [[kept.startContainer, kept.startOffset], [kept.endContainer, kept.endOffset]] as const;
    if (isBackward) selection.setBaseAndExtent(...focus, ...anchor);
    else selection.setBaseAndExtent(...anchor, ...focus);
}

/** Characters of `node` before a point in it; null for a point elsewhere. */
function textOffset(node: Element, container: Node, offset: number): number | null {
    if (!node.contains(container)) return null;
    const before = document.createRange();
    before.setStart(node, 0);
    before.setEnd(container, offset);
    return before.toString().length;
}

function pointAt(node: Element, offset: number): [Node, number] {
    const walker = document.createTreeWalker(node, NodeFilter.SHOW_TEXT);
    let left = offset;
    while (walker.nextNode()) {
        const text = walker.currentNode as Text;
        if (left <= text.length) return [text, left];
        left -= text.length;
    }
    return [node, node.childNodes.length];
}
