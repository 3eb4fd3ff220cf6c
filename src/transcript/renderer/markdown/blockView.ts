import { htmlOf, type Block } from './blockTree';
import { element } from '../page/dom';
import { hasLongCluster } from './clusters';
import { changedEnd } from './changedEnd';
import { growText } from './growText';
import { isCaret, patch, setText } from './patch';
import { listPlace, PiecePlace, PlainPlace, removeWithPieces, rowPlace, withPieces, type Place } from './places';

/** A block in the page. */
export interface ShownBlock {
    block: Block;
    /** What is shown. The block may have changed since. */
    html: string;
    /** The element that stands for the block among its siblings, its frame if it has one. */
    node: HTMLElement;
    /** The element that holds the blocks in it. */
    body: HTMLElement;
    /** How the blocks in it are put there. */
    place: Place;
    children: ShownBlock[];
    settled: boolean;
}

/** What a block's elements get besides what was parsed. */
export interface BlockDresser {
    toFragment(html: string): DocumentFragment;
    frameCode(pre: HTMLElement): HTMLElement;
    drawFormulas(root: Element): void;
    drawOpenFormula(formula: HTMLElement): void;
    /** A piece of a long list or table will not change any more. */
    isFollowed(piece: HTMLElement): void;
}

/** Blocks that are to be drawn, and what is to be done with their elements. */
interface Drawing {
    html: string;
    parentKind: string;
    apply(elements: HTMLElement[]): void;
}

/**
 * Draws blocks, and makes drawn ones equal others while it touches only what differs. What has to be drawn
 * is gathered until `draw`, because sanitising costs by the call more than by the block.
 */
export class BlockView {
    private readonly shownBy = new WeakMap<Block, ShownBlock>();
    private drawings: Drawing[] = [];

    constructor(private readonly dresser: BlockDresser) {}

    /** A block as the root of what is shown, in an element that is there already. */
    root(block: Block, node: HTMLElement, place: Place): ShownBlock {
        return this.remember({ block, html: '', node, body: node, place, children: [], settled: false });
    }

    /** Where a block is shown. */
    find(block: Block): ShownBlock | undefined {
        return this.shownBy.get(block);
    }

    /** Makes the blocks in `parent` from `from` on equal those of `block`. Call `draw` afterwards. */
    updateChildren(parent: ShownBlock, { kind, children: blocks = [] }: Block, from: number): void {
        const { children, place } = parent;
        let index = from;
        while (index < blocks.length && index < children.length && sameSide(children[index]!.block, blocks[index]!)) {
            this.update(children[index]!, blocks[index]!, kind, parent, index);
            index += 1;
        }
        for (const { node } of children.splice(index)) place.remove(node);
        if (index >= blocks.length) return;
        parent.settled = false;
        this.drawings.push({
            html: blocks.slice(index).map(htmlOf).join(''),
            parentKind: kind,
            apply: (elements) => {
                const drawn = this.adoptAll(blocks.slice(index), elements);
                place.append(drawn.map(({ node }) => node));
                for (const shown of drawn) children.push(shown);
            },
        });
    }

    /** Shows a finished leaf again whose block has changed. Call `draw` afterwards. */
    redraw(shown: ShownBlock): void {
        const { block, settled } = shown;
        const parentKind = block.kind === 'tr' ? 'tbody' : block.kind === 'thead' ? 'table' : '';
        const apply = ([now]: HTMLElement[]) => {
            this.patchLeaf(shown, block, now);
            shown.settled = settled;
        };
        if (shown.html !== block.html) this.drawings.push({ html: block.html, parentKind, apply });
    }

    /** Draws everything that is to be drawn. All of it is sanitised at once. */
    draw(): void {
        const { drawings } = this;
        if (drawings.length === 0) return;
        this.drawings = [];
        const boxes = [...this.dresser.toFragment(drawings.map(wrapped).join('')).children];
        drawings.forEach((drawing, index) => drawing.apply(unwrapped(boxes[index], drawing)));
    }

    /** Shows the source of a formula that was never closed. */
    undoOpenFormula({ block, node }: ShownBlock): void {
        const now = this.dresser.toFragment(htmlOf(block)).firstElementChild;
        if (now) node.replaceChildren(...now.childNodes);
    }

    private update(shown: ShownBlock, block: Block, parentKind: string, parent: ShownBlock, index: number): void {
        if (shown.block.kind === block.kind && shown.html === block.html) {
            shown.block = block;
            this.remember(shown);
            if (!block.children) return;
            this.updateChildren(shown, block, 0);
            if (!shown.settled) parent.settled = false;
            return;
        }
        parent.settled = false;
        const text = codeText(shown);
        if (text && block.kind === 'code' && !hasLongCluster(block.text!)) {
            setText(text, block.text!);
            this.changed(shown, block);
            return;
        }
        if (isLeaf(shown, block) && growText(shown.node, shown.html, block.html)) {
            this.changed(shown, block);
            return;
        }
        const end = isLeaf(shown, block) ? changedEnd(shown.node, shown.html, block.html) : null;
        const apply = ([now]: HTMLElement[]) => {
            if (this.patchLeaf(shown, block, now, end?.from)) return;
            const drawn = now && !end ? this.adopt(block, now) : this.opaque(block);
            shown.node.before(...withPieces(drawn.node));
            removeWithPieces(shown.node);
            parent.children[index] = drawn;
        };
        this.drawings.push({ html: end?.html ?? htmlOf(block), parentKind, apply });
    }

    private patchLeaf(shown: ShownBlock, block: Block, now: HTMLElement | undefined, from?: number): boolean {
        if (!now || !isLeaf(shown, block)) return false;
        if (!patch(shown.node, now, from)) return false;
        this.changed(shown, block);
        this.drawFormulas(shown.node, block);
        return true;
    }

    private changed(shown: ShownBlock, block: Block): void {
        Object.assign(shown, { block, html: block.html, settled: false });
        this.remember(shown);
    }

    private remember(shown: ShownBlock): ShownBlock {
        this.shownBy.set(shown.block, shown);
        return shown;
    }

    private adoptAll(blocks: Block[], elements: HTMLElement[]): ShownBlock[] {
        const match = elements.length === blocks.length;
        return blocks.map((block, index) => match ? this.adopt(block, elements[index]!) : this.opaque(block));
    }

    /** Finds the blocks in what was drawn. */
    private adopt(block: Block, drawn: HTMLElement): ShownBlock {
        const { kind, html } = block;
        const body = kind === 'fence' ? drawn.firstElementChild as HTMLElement : drawn;
        const elements = block.children ? [...body.children] as HTMLElement[] : [];
        if (block.children && elements.length !== block.children.length) return this.opaque(block);
        const place = this.placeIn(body, kind);
        const children = elements.map((child, index) => this.adopt(block.children![index]!, child));
        if (!block.children) this.drawFormulas(drawn, block);
        const node = this.framed(drawn);
        if (place instanceof PiecePlace && kind !== 'tbody') place.spill();
        // Rows can go on in another table only where the frame of the first holds both.
        if (kind === 'table') for (const child of children) if (child.place instanceof PiecePlace) child.place.spill();
        return this.remember({ block, html, node, body, place, children, settled: false });
    }

    private placeIn(body: HTMLElement, kind: string): Place {
        const { isFollowed } = this.dresser;
        if (kind.endsWith('_list')) return listPlace(body, isFollowed);
        return kind === 'tbody' ? rowPlace(body, isFollowed) : new PlainPlace(body);
    }

    /** A block whose elements are not those of its parts is drawn whole whenever it changes. */
    private opaque(block: Block): ShownBlock {
        const html = htmlOf(block);
        const node = element('div', '', this.dresser.toFragment(html));
        const shown = { block: { ...block, children: [] }, html, node, body: node, place: new PlainPlace(node), children: [], settled: false };
        return this.remember(shown);
    }

    private framed(drawn: HTMLElement): HTMLElement {
        if (drawn.tagName === 'PRE') return this.dresser.frameCode(drawn);
        const frame = drawn.tagName === 'TABLE' ? tableFrame() : drawn.matches('div.note') ? noteFrame(drawn) : null;
        if (!frame) return drawn;
        drawn.replaceWith(frame);
        frame.append(drawn);
        return frame;
    }

    private drawFormulas(drawn: HTMLElement, { html }: Block): void {
        if (!html.includes('-tex="')) return;
        this.dresser.drawFormulas(drawn);
        const open = drawn.matches('[data-open-tex]') ? drawn : drawn.querySelector<HTMLElement>('[data-open-tex]');
        if (open) this.dresser.drawOpenFormula(open);
    }
}

/** Notes and other blocks stand in different places, and cannot take each other's. */
function sameSide(a: Block, b: Block): boolean {
    return (a.kind === 'footnote') === (b.kind === 'footnote');
}

function wrapped({ html, parentKind }: Drawing): string {
    const [open, close] = shells(parentKind);
    return `<div>${open}${html}${close}</div>`;
}

function unwrapped(box: Element | undefined, { parentKind }: Drawing): HTMLElement[] {
    let parent: Element | null | undefined = box;
    for (let depth = shells(parentKind)[2]; depth > 0; depth -= 1) parent = parent?.firstElementChild;
    return [...parent?.children ?? []] as HTMLElement[];
}

/** What parts of tables must stand in to be parsed: start, end, and how many elements deep. */
function shells(parentKind: string): [string, string, number] {
    if (parentKind === 'tbody') return ['<table><tbody>', '</tbody></table>', 2];
    return parentKind === 'table' ? ['<table>', '</table>', 1] : ['', '', 0];
}

/** Whether both are blocks without blocks in them, and without a frame of their own. */
function isLeaf(shown: ShownBlock, block: Block): boolean {
    return shown.node === shown.body && !shown.block.children && !block.children;
}

/** The text of a piece of code that is not coloured yet. */
function codeText({ block, body }: ShownBlock): Text | null {
    if (block.kind !== 'code') return null;
    const text = body.firstChild;
    const after = text?.nextSibling;
    return text instanceof Text && (!after || isCaret(after)) ? text : null;
}

function tableFrame(): HTMLElement {
    const frame = element('div', 'table');
    frame.setAttribute('role', 'group');
    frame.setAttribute('aria-label', 'Table');
    return frame;
}

/** A note's number leads back to where the text refers to it. */
function noteFrame(note: HTMLElement): HTMLElement {
    const number = note.dataset['note'] ?? '';
    const back = element('span', 'note-number', number);
    back.tabIndex = 0;
    back.setAttribute('role', 'link');
    back.setAttribute('aria-label', `Back to the text of note ${number}`);
    back.dataset['noteBack'] = number;
    return element('div', 'note-row', back);
}
