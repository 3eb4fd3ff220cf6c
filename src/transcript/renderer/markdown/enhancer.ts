import { afterPaint } from '../page/afterPaint';
import type { Sanitizer } from './sanitizer';

/** Characters. Colouring a longer block would stall the page, and nobody reads it by colour. */
const LONGEST_HIGHLIGHTED = 60_000;
/** Drawn formulas kept for a block that is rendered again while it grows. */
const KEPT_FORMULAS = 200;

/**
 * Code colours and drawn formulas. Both libraries are large and many chats need neither, so each is loaded
 * when the first block asks for it, after that block has been painted as plain text.
 */
export class Enhancer {
    private highlighter: Promise<typeof import('./highlighter')> | undefined;
    private formulas: Promise<typeof import('./formulas')> | undefined;
    private loadedFormulas: typeof import('./formulas') | undefined;
    private readonly drawn = new Map<string, Element>();

    constructor(private readonly sanitizer: Sanitizer) {}

    /** Colours a code element in place. Call it once, when the code is complete. */
    async highlight(code: Element): Promise<void> {
        const language = code.getAttribute('data-language') ?? '';
        const text = code.textContent ?? '';
        if (!language || text.length > LONGEST_HIGHLIGHTED) return;
        this.highlighter ??= afterPaint().then(() => import('./highlighter'));
        const html = (await this.highlighter).highlight(text, language);
        if (html !== null) code.replaceChildren(this.sanitizer.codeToFragment(html));
    }

    /** Draws a formula over its source; at once when the library is there. */
    drawFormula(element: HTMLElement): void {
        if (this.loadedFormulas) {
            this.draw(element, this.loadedFormulas);
            return;
        }
        this.formulas ??= afterPaint().then(() => import('./formulas'));
        void this.formulas.then((loaded) => {
            this.loadedFormulas = loaded;
            this.draw(element, loaded);
        });
    }

    private draw(element: HTMLElement, { drawFormula }: typeof import('./formulas')): void {
        const tex = element.dataset['tex'] ?? '';
        const display = element.classList.contains('math-display');
        const key = `${display ? 'display' : 'inline'}:${tex}`;
        const drawn = this.drawn.get(key) ?? drawFormula(tex, display);
        if (!drawn) return;
        if (this.drawn.size >= KEPT_FORMULAS) this.drawn.clear();
        this.drawn.set(key, drawn);
        element.replaceChildren(drawn.cloneNode(true));
    }
}
