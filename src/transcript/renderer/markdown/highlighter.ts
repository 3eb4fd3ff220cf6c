import hljs from 'highlight.js/lib/common';

/** Scopes in each other, such as strings in code in strings. */
const DEEPEST = 40;

/** A node of the library's own tree. */
interface Scope {
    scope?: string;
    children: (string | Scope)[];
}

/**
 * The code as coloured pieces of `lines` lines each, or null when the language is not known or the code is
 * nested as no code is. Built node by node: no HTML text is made, so there is nothing to sanitise.
 */
export function colouredPieces(code: string, language: string, lines: number): DocumentFragment[] | null {
    if (!hljs.getLanguage(language)) return null;
    const { _emitter } = hljs.highlight(code, { language, ignoreIllegals: true });
    const { root } = _emitter as unknown as { root: Scope };
    if (isDeep(root)) return null;
    const pieces = new Pieces(lines);
    pieces.add(root);
    return pieces.fragments;
}

function isDeep(root: Scope): boolean {
    let level = [root];
    for (let depth = 0; level.length > 0; depth += 1) {
        if (depth > DEEPEST) return true;
        level = level.flatMap(({ children }) => children.filter((child): child is Scope => typeof child !== 'string'));
    }
    return false;
}

class Pieces {
    readonly fragments = [document.createDocumentFragment()];
    private open: Element[] = [];
    private line = 0;

    constructor(private readonly lines: number) {}

    add(node: Scope): void {
        const element = node.scope ? span(node.scope) : undefined;
        if (element) {
            this.place.append(element);
            this.open.push(element);
        }
        for (const child of node.children) {
            if (typeof child === 'string') this.addText(child);
            else this.add(child);
        }
        if (element) this.open.pop();
    }

    private get place(): ParentNode {
        return this.open.at(-1) ?? this.fragments.at(-1)!;
    }

    private addText(text: string): void {
        for (let at = 0; at < text.length;) {
            if (this.line === this.lines) this.startPiece();
            let end = at;
            while (end < text.length && this.line < this.lines) {
                const next = text.indexOf('\n', end);
                end = next < 0 ? text.length : next + 1;
                if (next >= 0) this.line += 1;
            }
            this.place.append(text.slice(at, end));
            at = end;
        }
    }

    /** What is open goes on in the next piece. */
    private startPiece(): void {
        this.line = 0;
        const fragment = document.createDocumentFragment();
        this.fragments.push(fragment);
        let place: ParentNode = fragment;
        this.open = this.open.map((element) => {
            const again = element.cloneNode(false) as Element;
            place.append(again);
            place = again;
            return again;
        });
    }
}

/** "title.function" becomes the classes "hljs-title function_". */
function span(scope: string): Element {
    const element = document.createElement('span');
    const [first, ...more] = scope.startsWith('language:') ? [] : scope.split('.');
    if (first) element.className = [`hljs-${first}`, ...more.map((name, index) => name + '_'.repeat(index + 1))].join(' ');
    return element;
}
