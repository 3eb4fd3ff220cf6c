import { afterPaint } from '../page/afterPaint';
import type { SelectionKeeper } from '../page/selectionKeeper';
import { CODE_LINES } from './blockTree';
import { hasLongCluster } from './clusters';
import type { NearWindow } from './nearWindow';
import { hiddenSource } from './patch';
import { WorkQueue } from './workQueue';

/** Characters. It takes up to a millisecond for each thousand of them, in one go, and nobody reads more by colour. */
const LONGEST_HIGHLIGHTED = 16_000;
/** Characters of a formula that is being written, up to which it is drawn again and again. */
const LONGEST_OPEN_FORMULA = 1_500;
/** Drawn formulas kept for a block that is rendered again while it grows. */
const KEPT_FORMULAS = 200;
/** Milliseconds that drawing formulas at once may add to what the page is doing. */
const AT_ONCE = 3;

type Formulas = typeof import('./formulas');

/**
 * When formulas are drawn: right behind the update that brought them, before its picture; with it, as far as
 * time allows; or when they come near the window.
 */
export type DrawingTime = 'soon' | 'atOnce' | 'near';

/**
 * Code colours and drawn formulas. Both libraries are large and many chats need neither, so each is loaded
 * when the first block near the window asks for it, after that block has been painted as plain text. Work
 * that would hold up the page waits its turn in a queue.
 */
export class Enhancer {
    private readonly queue = new WorkQueue();
    /** Formulas at the end of an answer that grows wait for nothing else. */
    private readonly soon = new WorkQueue();
    private highlighter: Promise<typeof import('./highlighter')> | undefined;
    private loadingFormulas: Promise<Formulas> | undefined;
    private formulas: Formulas | undefined;
    private readonly drawn = new Map<string, Element>();
    private readonly seen = new WeakSet<Element>();
    private atOnceUntil: number | undefined;

    constructor(private readonly near: NearWindow, private readonly selection: SelectionKeeper) {}

    /** Colours a code element in place, soon after it comes near the window. Call it when the code is complete. */
    highlight(code: Element): void {
        if (!code.getAttribute('data-language')) return;
        this.near.when(code, () => {
            this.highlighter ??= afterPaint().then(() => import('./highlighter'));
            void this.highlighter.then((loaded) => this.queue.add(() => this.colour(code, loaded)));
        });
    }

    /** Draws the formulas in `root` over their sources; near the window while the library is not there yet. */
    drawFormulas(root: Element, time: DrawingTime): void {
        for (const element of root.querySelectorAll<HTMLElement>('.math[data-tex]')) this.drawFormula(element, time);
        if (root instanceof HTMLElement && root.matches('.math[data-tex]')) this.drawFormula(root, time);
    }

    /** Draws what there is of a formula that is still being written, as far as it is one. */
    drawOpenFormula(element: HTMLElement): void {
        this.withFormulas(({ drawFormula }) => {
            const tex = element.dataset['openTex'] ?? '';
            if (this.seen.has(element) || !tex || tex.length > LONGEST_OPEN_FORMULA) return;
            const drawn = drawFormula(tex, element.classList.contains('math-display'));
            // A part that is none keeps the picture of the one before it, which it continues.
            if (drawn) this.fill(element, drawn);
        });
    }

    /** Nothing more follows: an open formula is text. */
    closeOpenFormula(element: HTMLElement): void {
        this.seen.add(element);
    }

    private drawFormula(element: HTMLElement, time: DrawingTime): void {
        if (this.seen.has(element)) return;
        this.seen.add(element);
        const { formulas } = this;
        if (formulas && time === 'soon') {
            // An answer may be gone before its turn.
            this.soon.add(() => {
                if (element.isConnected) this.draw(element, formulas);
            });
        } else if (formulas && time === 'atOnce' && this.mayHoldUp()) this.draw(element, formulas);
        else this.near.when(element, () => this.withFormulas((loaded) => this.draw(element, loaded)));
    }

    private withFormulas(work: (loaded: Formulas) => void): void {
        this.loadingFormulas ??= afterPaint().then(() => import('./formulas'));
        void this.loadingFormulas.then((loaded) => {
            this.formulas = loaded;
            this.queue.add(() => work(loaded));
        });
    }

    private mayHoldUp(): boolean {
        const now = performance.now();
        if (this.atOnceUntil === undefined) {
            this.atOnceUntil = now + AT_ONCE;
            setTimeout(() => {
                this.atOnceUntil = undefined;
            });
        }
        return now < this.atOnceUntil;
    }

    private draw(element: HTMLElement, { drawFormula }: Formulas): void {
        const tex = element.dataset['tex'] ?? '';
        const display = element.classList.contains('math-display');
        const key = `${display ? 'display' : 'inline'}:${tex}`;
        const known = this.drawn.get(key);
        const drawn = known ? known.cloneNode(true) as Element : drawFormula(tex, display);
        if (!drawn) {
            const source = hiddenSource(element);
            if (source !== undefined) this.fill(element, document.createTextNode(source));
            return;
        }
        if (this.drawn.size >= KEPT_FORMULAS) this.drawn.clear();
        this.drawn.set(key, drawn);
        this.fill(element, drawn);
    }

    private colour(code: Element, { colouredPieces }: typeof import('./highlighter')): void {
        const text = code.textContent ?? '';
        if (text.length > LONGEST_HIGHLIGHTED || hasLongCluster(text)) return;
        const coloured = colouredPieces(text, code.getAttribute('data-language')!, CODE_LINES);
        // Another text may have taken the place of this one before its last piece is coloured.
        [...code.children].forEach((piece, index) => this.queue.add(() => {
            const fragment = coloured?.[index];
            if (!fragment || fragment.textContent !== piece.textContent) return;
            this.selection.keep(piece, () => piece.replaceChildren(fragment));
        }));
    }

    /** The caret that may stand behind the source stays. */
    private fill(element: Element, drawn: Node): void {
        const change = () => element.replaceChildren(drawn, ...element.querySelectorAll(':scope > .caret'));
        this.selection.keep(element, change);
    }
}
