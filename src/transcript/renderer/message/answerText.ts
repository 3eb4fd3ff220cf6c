import { BlockSplitter, type Block } from '../markdown/blockSplitter';
import { element } from '../page/dom';
import type { Services } from '../page/services';
import { frameCode } from './codeFrame';

/** Blocks per section. Sections outside the window cost no layout, so that stays flat as an answer grows. */
const SECTION = 40;

interface ShownBlock {
    html: string;
    node: HTMLElement;
    settled: boolean;
}

/**
 * The text of an answer: one node per top-level Markdown block. An update touches only blocks that
 * changed; a finished block keeps its node, and with it selection, scroll position and colours.
 */
export class AnswerText {
    readonly node = element('div', 'answer-text');
    private readonly splitter: BlockSplitter;
    private readonly shown: ShownBlock[] = [];
    private readonly sections: HTMLElement[] = [];

    constructor(private readonly services: Services) {
        this.splitter = new BlockSplitter(services.markdown);
    }

    /** Shows the whole text so far; `complete` when nothing will follow. */
    update(text: string, complete: boolean): void {
        const { from, blocks, revised, finished } = this.splitter.update(text);
        for (const { index, block } of revised) {
            this.show(index, block);
            this.settle(this.shown[index]!);
        }
        blocks.forEach((block, offset) => this.show(from + offset, block));
        this.truncate(from + blocks.length);
        this.settleUpTo(complete ? this.shown.length : finished);
    }

    /** Where a caret belongs that follows the last character. */
    caretPlace(): HTMLElement {
        let place = this.shown.at(-1)?.node ?? this.node;
        for (;;) {
            const last = place.lastElementChild;
            if (!(last instanceof HTMLElement) || !last.matches(CARET_DESCENDS)) return place;
            place = last;
        }
    }

    private show(index: number, block: Block): void {
        const before = this.shown[index];
        if (before?.html === block.html) return;
        const node = this.draw(block);
        if (before) before.node.replaceWith(node);
        else this.sectionFor(index).append(node);
        this.shown[index] = { html: block.html, node, settled: false };
    }

    private sectionFor(index: number): HTMLElement {
        if (index % SECTION === 0) {
            const section = element('div', 'section');
            this.sections.push(section);
            this.node.append(section);
        }
        return this.sections.at(-1)!;
    }

    private truncate(length: number): void {
        for (const { node } of this.shown.splice(length)) node.remove();
        for (const section of this.sections.splice(Math.ceil(length / SECTION))) section.remove();
    }

    private draw(block: Block): HTMLElement {
        const node = element('div', 'block', this.services.sanitizer.toFragment(block.html));
        for (const pre of node.querySelectorAll('pre')) frameCode(pre, this.services.port);
        for (const table of node.querySelectorAll('table')) scrollInside(table);
        for (const formula of node.querySelectorAll<HTMLElement>('.math[data-tex]')) {
            this.services.enhancer.drawFormula(formula);
        }
        return node;
    }

    private settleUpTo(count: number): void {
        for (let index = count - 1; index >= 0 && !this.shown[index]!.settled; index -= 1) {
            this.settle(this.shown[index]!);
        }
    }

    /** Colours the code of a block that will not grow any more. */
    private settle(block: ShownBlock): void {
        block.settled = true;
        for (const code of block.node.querySelectorAll('pre > code')) {
            void this.services.enhancer.highlight(code);
        }
    }
}

/** Elements whose last character is the text's last character when they come last. */
const CARET_DESCENDS = 'p, ul, ol, li, blockquote, h1, h2, h3, h4, h5, h6, div.code, pre, pre > code, '
    + 'div.table, table, thead, tbody, tr, th, td';

function scrollInside(table: HTMLTableElement): void {
    const frame = element('div', 'table');
    frame.tabIndex = 0;
    frame.setAttribute('role', 'region');
    frame.setAttribute('aria-label', 'Table');
    table.replaceWith(frame);
    frame.append(table);
}
