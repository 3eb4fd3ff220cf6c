import { element } from '../page/dom';
import { htmlOf, type Block } from './blockTree';
import { patch, setText } from './patch';

/** A block in the page. */
export interface ShownBlock {
    block: Block;
    /** What is shown. The block may have changed since. */
    html: string;
    /** The element that stands for the block among its siblings, its frame if it has one. */
    node: HTMLElement;
    /** The element that holds the blocks in it. */
    body: HTMLElement;
    children: ShownBlock[];
    settled: boolean;
}

/** Where the blocks of one container stand. */
export interface Place {
    append(shown: ShownBlock[]): void;
    remove(shown: ShownBlock): void;
    /** Whether one may stand where the other stood. */
    fits(shown: ShownBlock, block: Block): boolean;
}

/** What a block's elements get besides what was parsed. */
export interface BlockDresser {
    toFragment(html: string): DocumentFragment;
    frameCode(pre: HTMLElement): HTMLElement;
    drawFormulas(root: Element): void;
    drawOpenFormula(formula: HTMLElement): void;
}

/** Draws blocks, and makes drawn ones equal others while it touches only what differs. */
export class BlockView {
    private readonly shownBy = new WeakMap<Block, ShownBlock>();

    constructor(private readonly dresser: BlockDresser) {}

    /** A block as the root of what is shown, in an element that is there already. */
    root(block: Block, node: HTMLElement): ShownBlock {
        return this.remember({ block, html: '', node, body: node, children: [], settled: false });
    }

    /** Where a block is shown. */
    find(block: Block): ShownBlock | undefined {
        return this.shownBy.get(block);
    }

    /** Makes the blocks in `parent` from `from` on equal those of its `block`. */
    updateChildren(parent: ShownBlock, block: Block, from: number, place: Place = new ElementPlace(parent.body)): void {
        const { children } = parent;
        const blocks = block.children!;
        let index = from;
        while (index < blocks.length && index < children.length && place.fits(children[index]!, blocks[index]!)) {
            children[index] = this.update(children[index]!, blocks[index]!, block.kind);
            index += 1;
        }
        for (const shown of children.splice(index)) place.remove(shown);
        if (index >= blocks.length) return;
        const drawn = this.draw(blocks.slice(index), block.kind);
        place.append(drawn);
        for (const shown of drawn) children.push(shown);
        parent.settled = false;
    }

    /** Shows a block where another version of it, or another block, is shown. */
    update(shown: ShownBlock, block: Block, parentKind: string): ShownBlock {
        if (shown.block.kind === block.kind && shown.html === block.html) {
            shown.block = block;
            this.remember(shown);
            if (block.children) this.updateChildren(shown, block, 0);
            if (shown.children.some(({ settled }) => !settled)) shown.settled = false;
            return shown;
        }
        // The caret is no part of the text, and is put back after each update.
        shown.node.querySelector('.caret')?.remove();
        const text = shown.body.firstChild;
        if (block.kind === 'code' && shown.block.kind === 'code' && text instanceof Text && !text.nextSibling) {
            setText(text, block.text!);
            return this.changed(shown, block);
        }
        const [now] = this.elements([block], parentKind);
        if (now && shown.node === shown.body && !shown.block.children && !block.children && patch(shown.node, now)) {
            this.drawFormulas(shown.node, block);
            return this.changed(shown, block);
        }
        const drawn = now ? this.adopt(block, now) : this.opaque(block);
        shown.node.replaceWith(drawn.node);
        return drawn;
    }

    /** Draws the source of a formula that was never closed. */
    undoOpenFormula(shown: ShownBlock): void {
        const [now] = this.elements([shown.block], '');
        if (now) shown.node.replaceChildren(...now.childNodes);
    }

    private changed(shown: ShownBlock, block: Block): ShownBlock {
        Object.assign(shown, { block, html: block.html, settled: false });
        return this.remember(shown);
    }

    private remember(shown: ShownBlock): ShownBlock {
        this.shownBy.set(shown.block, shown);
        return shown;
    }

    private draw(blocks: Block[], parentKind: string): ShownBlock[] {
        const elements = this.elements(blocks, parentKind);
        if (elements.length === blocks.length) return blocks.map((block, index) => this.adopt(block, elements[index]!));
        return blocks.map((block) => this.opaque(block));
    }

    /** The elements of some blocks, one each. All of them are sanitised at once. */
    private elements(blocks: Block[], parentKind: string): HTMLElement[] {
        const html = blocks.map(htmlOf).join('');
        // Parts of tables are parsed inside a table only.
        const [open, close, depth] = parentKind === 'tbody' ? ['<table><tbody>', '</tbody></table>', 2]
            : parentKind === 'table' ? ['<table>', '</table>', 1] as const : ['', '', 0];
        let parent: ParentNode | null = this.dresser.toFragment(open + html + close);
        for (let level = 0; level < depth; level += 1) parent = parent?.firstElementChild ?? null;
        return [...parent?.children ?? []] as HTMLElement[];
    }

    /** Finds the blocks in what was drawn. */
    private adopt(block: Block, drawn: HTMLElement): ShownBlock {
        const body = block.kind === 'fence' ? drawn.firstElementChild as HTMLElement : drawn;
        const { children } = body;
        if (block.children && children.length !== block.children.length) return this.opaque(block);
        const elements = block.children ? [...children] as HTMLElement[] : [];
        const shown = {
            block, html: block.html, node: this.framed(drawn), body, settled: false,
            children: elements.map((child, index) => this.adopt(block.children![index]!, child)),
        };
        if (!block.children) this.drawFormulas(drawn, block);
        return this.remember(shown);
    }

    /** A block whose elements are not those of its parts is drawn whole whenever it changes. */
    private opaque(block: Block): ShownBlock {
        const html = htmlOf(block);
        const node = element('div', '', this.dresser.toFragment(html));
        return this.remember({ block: { ...block, children: [] }, html, node, body: node, children: [], settled: false });
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
        if (drawn.matches('[data-open-tex]')) this.dresser.drawOpenFormula(drawn);
    }
}

class ElementPlace implements Place {
    constructor(private readonly body: HTMLElement) {}

    append(shown: ShownBlock[]): void {
        // In one step, however many there are.
        const fragment = document.createDocumentFragment();
        for (const { node } of shown) fragment.append(node);
        this.body.append(fragment);
    }

    remove({ node }: ShownBlock): void {
        node.remove();
    }

    fits(): boolean {
        return true;
    }
}

function tableFrame(): HTMLElement {
    const frame = element('div', 'table');
    frame.tabIndex = 0;
    frame.setAttribute('role', 'region');
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
