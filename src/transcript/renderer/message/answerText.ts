import { BlockSplitter } from '../markdown/blockSplitter';
import type { Block } from '../markdown/blockTree';
import { BlockView, type ShownBlock } from '../markdown/blockView';
import type { DrawingTime } from '../markdown/enhancer';
import { lastElement } from '../markdown/patch';
import { removeWithPieces, withPieces, type PieceListener, type Place } from '../markdown/places';
import { element } from '../page/dom';
import type { Services } from '../page/services';
import { frameCode } from './codeFrame';
import { followNotes } from './notes';

/** Characters of a long text that are drawn at once: a few milliseconds. */
const STEP = 2_000;
/** Characters of an open block from which on to draw it again and again takes longer than all at once. */
const LONGEST_OPEN = 4_000;

/** Blocks per section: about a window. Sections outside it cost no layout, so that stays flat as an answer grows. */
const SECTION = 8;
/** Sections per chapter: the engine comes by each that stands in a box that grows, though it lays none of them out. */
const CHAPTER = 12;

/**
 * The text of an answer: one node per top-level Markdown block, and inside lists, quotes, tables and code
 * one per block in them. An update touches only what changed; a finished block keeps its nodes, and with
 * them selection, scroll position and colours.
 */
export class AnswerText {
    readonly node = element('div', 'answer-text');
    private readonly splitter: BlockSplitter;
    private readonly view: BlockView;
    private readonly root: ShownBlock;
    private prepared = 0;
    private drawingTime: DrawingTime = 'atOnce';

    constructor(private readonly services: Services) {
        const { markdown, sanitizer, enhancer } = services;
        this.splitter = new BlockSplitter(markdown);
        this.view = new BlockView({
            toFragment: (html) => sanitizer.toFragment(html),
            frameCode: (pre) => frameCode(pre, services),
            drawFormulas: (root) => enhancer.drawFormulas(root, this.drawingTime),
            drawOpenFormula: (formula) => enhancer.drawOpenFormula(formula),
            isFollowed: (piece) => this.spare(piece),
        });
        this.root = this.view.root(this.splitter.root, this.node, new SectionPlace(this.node, (section) => this.spare(section)));
        followNotes(this.node);
    }

    /** Shows the whole text so far; `complete` when nothing will follow, `appended` as for `AppendedText`. */
    update(text: string, complete: boolean, appended?: string): void {
        if (!complete && this.drawingTime !== 'near') this.drawingTime = 'soon';
        const { changed, revised, open } = this.splitter.update(text, complete, appended);
        for (const block of revised) {
            const shown = this.view.find(block);
            if (shown) this.view.redraw(shown);
        }
        changed.forEach(({ block, fixed }, depth) => {
            const shown = this.view.find(block);
            const next = changed[depth + 1];
            // A block that could not be shown in parts is shown again whole.
            const from = next && !this.view.find(next.block) ? fixed - 1 : fixed;
            if (shown) this.view.updateChildren(shown, block, from);
        });
        this.view.draw();
        this.offerRevised(revised);
        if (complete) {
            this.settleBefore(this.root, this.root.children.length);
            return;
        }
        open.forEach(({ block, fixed }, depth) => {
            const last = depth === open.length - 1;
            const shown = this.view.find(block);
            if (shown) this.settleBefore(shown, last ? fixed : fixed - 1);
        });
    }

    /**
     * Draws a further part of a text that nobody sees yet. False when the rest is short, or cannot be drawn in
     * parts: `update` then draws it.
     */
    prepare(text: string): boolean {
        this.drawingTime = 'near';
        this.prepared += STEP;
        if (this.prepared + STEP > text.length || this.splitter.openLength > LONGEST_OPEN) return false;
        this.update(text.slice(0, this.prepared), false);
        return true;
    }

    /** Where a caret belongs that follows the last character. */
    caretPlace(): HTMLElement {
        let place = this.root.children.at(-1)?.node ?? this.node;
        for (;;) {
            const last = lastElement(place);
            if (!(last instanceof HTMLElement) || !last.matches(CARET_DESCENDS)) return place;
            place = last;
        }
    }

    /** A part that another one follows need not be laid out when it is out of sight. */
    private spare(part: HTMLElement): void {
        const { outOfSight } = this.services;
        if (this.drawingTime === 'soon') outOfSight.watch(part);
        else outOfSight.setAside(part);
    }

    /** What was text when its block was finished may have become a link. */
    private offerRevised(revised: Block[]): void {
        for (const block of revised) {
            const shown = this.view.find(block);
            const wrapper = shown?.settled ? shown.node.parentElement : null;
            if (wrapper?.parentElement?.classList.contains('section')) this.services.linkCards.offer(wrapper);
        }
    }

    private settleBefore(parent: ShownBlock, end: number): void {
        for (let index = end - 1; index >= 0 && !parent.children[index]!.settled; index -= 1) {
            const shown = parent.children[index]!;
            this.settle(shown);
            if (parent === this.root) this.services.linkCards.offer(shown.node.parentElement!);
        }
    }

    /** What a block gets when it will not grow any more. */
    private settle(shown: ShownBlock): void {
        shown.settled = true;
        if (shown.block.kind === 'fence') {
            this.services.enhancer.highlight(shown.body);
        } else if (shown.node.matches('[data-open-tex]')) {
            this.services.enhancer.closeOpenFormula(shown.node);
            this.view.undoOpenFormula(shown);
        } else {
            this.settleBefore(shown, shown.children.length);
        }
    }
}

/** Elements whose last character is the text's last character when they come last. */
const CARET_DESCENDS = 'p, ul, ol, li, blockquote, h1, h2, h3, h4, h5, h6, div.code, pre, pre > code, span.lines, span.part, '
    + 'div.table, table, thead, tbody, tr, th, td, div.note';

/** The outermost blocks, in sections of a fixed number, those in chapters, and the notes behind all of them. */
class SectionPlace implements Place {
    private readonly sections: HTMLElement[] = [];
    private readonly notes = element('section', 'notes');

    constructor(private readonly node: HTMLElement, private readonly isFollowed: PieceListener) {
        this.notes.setAttribute('aria-label', 'Notes');
    }

    append(nodes: HTMLElement[]): void {
        for (const node of nodes) this.parentFor(node).append(element('div', 'block', ...withPieces(node)));
    }

    remove(node: HTMLElement): void {
        const wrapper = node.parentElement!;
        const parent = wrapper.parentElement!;
        const chapter = parent.parentElement!;
        removeWithPieces(node);
        wrapper.remove();
        if (parent.hasChildNodes()) return;
        parent.remove();
        if (parent === this.notes) return;
        this.sections.pop();
        if (!chapter.hasChildNodes()) chapter.remove();
    }

    private parentFor(node: HTMLElement): HTMLElement {
        if (node.matches('.note-row')) {
            if (!this.notes.parentElement) this.node.append(this.notes);
            return this.notes;
        }
        const last = this.sections.at(-1);
        if (last && last.childElementCount < SECTION) return last;
        if (last) this.isFollowed(last);
        const section = element('div', 'section');
        this.chapterBehind(last).append(section);
        this.sections.push(section);
        return section;
    }

    private chapterBehind(last: HTMLElement | undefined): HTMLElement {
        const open = last?.parentElement;
        if (open && open.childElementCount < CHAPTER) return open;
        if (open) this.isFollowed(open);
        const chapter = element('div', 'chapter');
        if (this.notes.parentElement) this.notes.before(chapter);
        else this.node.append(chapter);
        return chapter;
    }
}
