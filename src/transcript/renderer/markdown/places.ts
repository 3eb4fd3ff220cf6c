import { element } from '../page/dom';

/** Items or rows per piece of a list or table. Only the last piece is laid out again as it grows. */
const PIECE = 32;

/** Where the nodes of the blocks in one container stand, in order. Nodes are added and removed at the end. */
export interface Place {
    append(nodes: HTMLElement[]): void;
    remove(node: HTMLElement): void;
}

/** A node and the pieces that continue it behind it. */
export function withPieces(node: HTMLElement): HTMLElement[] {
    const nodes = [node];
    for (let next = node.nextElementSibling; next?.classList.contains('more'); next = next.nextElementSibling) {
        nodes.push(next as HTMLElement);
    }
    return nodes;
}

export function removeWithPieces(node: HTMLElement): void {
    for (const piece of withPieces(node)) piece.remove();
}

/** The nodes stand in one element. */
export class PlainPlace implements Place {
    constructor(private readonly body: HTMLElement) {}

    append(nodes: HTMLElement[]): void {
        // In one step, however many there are.
        const fragment = document.createDocumentFragment();
        for (const node of nodes) fragment.append(...withPieces(node));
        this.body.append(fragment);
    }

    remove(node: HTMLElement): void {
        removeWithPieces(node);
    }
}

/** The nodes stand in pieces of a fixed number; `addPiece` makes the next one behind the last. */
export class PiecePlace implements Place {
    private readonly pieces: HTMLElement[];

    constructor(body: HTMLElement, private readonly addPiece: (last: HTMLElement, index: number) => HTMLElement,
        private readonly removePiece: (piece: HTMLElement) => void) {
        this.pieces = [body];
    }

    append(nodes: HTMLElement[]): void {
        let piece = this.pieces.at(-1)!;
        for (const node of nodes) {
            if (piece.childElementCount >= PIECE) {
                piece = this.addPiece(piece, this.pieces.length);
                this.pieces.push(piece);
            }
            piece.append(node);
        }
    }

    remove(node: HTMLElement): void {
        const piece = node.parentElement!;
        node.remove();
        if (piece.hasChildNodes() || piece === this.pieces[0]) return;
        this.removePiece(piece);
        this.pieces.pop();
    }

    /** Brings what is too much for the first piece into further ones. */
    spill(): void {
        const rest = [...this.pieces[0]!.children].slice(PIECE) as HTMLElement[];
        if (rest.length > 0) this.append(rest);
    }
}

/** The items of a list. A long one goes on in further lists. */
export function listPlace(list: HTMLElement): PiecePlace {
    const first = list instanceof HTMLOListElement ? list.start : undefined;
    return new PiecePlace(list, (last, index) => {
        const more = list.cloneNode(false) as HTMLElement;
        more.classList.add('more');
        if (more instanceof HTMLOListElement) more.start = first! + index * PIECE;
        last.after(more);
        return more;
    }, (piece) => piece.remove());
}

/** The rows of a table. A long one goes on in further tables, whose columns are as wide as those of the first. */
export function rowPlace(rows: HTMLElement): PiecePlace {
    let widths: ColumnWidths | undefined;
    return new PiecePlace(rows, (last) => {
        const table = last.parentElement as HTMLTableElement;
        widths ??= new ColumnWidths(rows.parentElement as HTMLTableElement);
        const body = element('tbody');
        const more = element('table', 'more', element('colgroup'), body);
        more.setAttribute('aria-label', 'Table, continued');
        table.after(more);
        widths.copyTo(more);
        return body;
    }, (piece) => {
        const table = piece.parentElement as HTMLTableElement;
        widths?.forget(table);
        table.remove();
    });
}

/** Keeps the columns of some tables as wide as those of another one. */
class ColumnWidths {
    private readonly cells: HTMLElement[];
    private readonly tables = new Set<HTMLTableElement>();
    private readonly observer = new ResizeObserver(() => this.copy());

    constructor(private readonly first: HTMLTableElement) {
        this.cells = [...first.tHead!.rows[0]!.cells];
        for (const cell of this.cells) this.observer.observe(cell);
    }

    copyTo(table: HTMLTableElement): void {
        this.tables.add(table);
        table.querySelector('colgroup')!.append(...this.cells.map(() => element('col')));
        const [known] = this.tables;
        if (known && known !== table) copyWidths(known, table);
    }

    forget(table: HTMLTableElement): void {
        this.tables.delete(table);
    }

    private copy(): void {
        const widths = this.cells.map((cell) => `${cell.getBoundingClientRect().width}px`);
        const whole = `${this.first.getBoundingClientRect().width}px`;
        for (const table of this.tables) {
            table.style.width = whole;
            [...table.querySelectorAll('col')].forEach((column, index) => {
                column.style.width = widths[index]!;
            });
        }
    }
}

function copyWidths(from: HTMLTableElement, to: HTMLTableElement): void {
    to.style.width = from.style.width;
    const columns = [...from.querySelectorAll('col')];
    [...to.querySelectorAll('col')].forEach((column, index) => {
        column.style.width = columns[index]!.style.width;
    });
}
