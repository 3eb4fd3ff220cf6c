import { element } from '../page/dom';

/** Items per piece of a list, and rows in the first piece of a table. Only the last piece is laid out again as it grows. */
const PIECE = 32;
/** Rows per further piece of a table. Its columns are as wide as those of the first; and rows are dear. */
const MORE_ROWS = 12;
/** Further pieces of a table per group: the engine comes by each box that stands beside the one that grows. */
const GROUP = 8;

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

/** Told of a piece that another one follows. */
export type PieceListener = (piece: HTMLElement) => void;

/** How pieces are made behind others and go away, and how many nodes each further one holds. */
interface Pieces {
    add(last: HTMLElement, index: number): HTMLElement;
    remove(piece: HTMLElement): void;
    size: number;
}

/** The nodes stand in pieces of a fixed number. */
export class PiecePlace implements Place {
    private readonly pieces: HTMLElement[];

    constructor(body: HTMLElement, private readonly more: Pieces) {
        this.pieces = [body];
    }

    append(nodes: HTMLElement[]): void {
        let piece = this.pieces.at(-1)!;
        for (const node of nodes) {
            if (piece.childElementCount >= (this.pieces.length === 1 ? PIECE : this.more.size)) {
                piece = this.more.add(piece, this.pieces.length);
                this.pieces.push(piece);
            }
            piece.append(node);
        }
    }

    remove(node: HTMLElement): void {
        const piece = node.parentElement!;
        node.remove();
        if (piece.hasChildNodes() || piece === this.pieces[0]) return;
        this.more.remove(piece);
        this.pieces.pop();
    }

    /** Brings what is too much for the first piece into further ones. */
    spill(): void {
        const rest = [...this.pieces[0]!.children].slice(PIECE) as HTMLElement[];
        if (rest.length > 0) this.append(rest);
    }
}

/** The items of a list. A long one goes on in further lists. */
export function listPlace(list: HTMLElement, isFollowed: PieceListener): PiecePlace {
    const first = list instanceof HTMLOListElement ? list.start : undefined;
    return new PiecePlace(list, {
        add: (last, index) => {
            const more = list.cloneNode(false) as HTMLElement;
            more.classList.replace('aside', 'more');
            more.classList.add('more');
            if (more instanceof HTMLOListElement) more.start = first! + index * PIECE;
            last.after(more);
            isFollowed(last);
            return more;
        },
        remove: (piece) => piece.remove(),
        size: PIECE,
    });
}

/** The rows of a table. A long one goes on in further tables in boxes, with columns as wide as those of the first. */
export function rowPlace(rows: HTMLElement, isFollowed: PieceListener): PiecePlace {
    let widths: ColumnWidths | undefined;
    return new PiecePlace(rows, {
        add: (last) => {
            widths ??= new ColumnWidths(rows.parentElement as HTMLTableElement);
            const body = element('tbody');
            const more = element('table', 'more', element('colgroup'), body);
            more.setAttribute('aria-label', 'Table, continued');
            const box = last.closest<HTMLElement>('.rows');
            groupBehind(box, last.parentElement!, isFollowed).append(element('div', 'rows', more));
            if (box) isFollowed(box);
            widths.copyTo(more);
            return body;
        },
        remove: (piece) => {
            widths?.forget(piece.parentElement as HTMLTableElement);
            const box = piece.closest('.rows')!;
            const group = box.parentElement!;
            box.remove();
            if (!group.hasChildNodes()) group.remove();
        },
        size: MORE_ROWS,
    });
}

/** Where the box behind `last` belongs, or the first one behind the table `first`. */
function groupBehind(last: HTMLElement | null, first: HTMLElement, isFollowed: PieceListener): HTMLElement {
    const open = last?.parentElement;
    if (open && open.childElementCount < GROUP) return open;
    const group = element('div', 'row-group');
    (open ?? first).after(group);
    if (open) isFollowed(open);
    return group;
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
            setWidth(table, whole);
            [...table.querySelectorAll('col')].forEach((column, index) => {
                column.style.width = widths[index]!;
            });
        }
    }
}

/** Of the table and what it stands in, which cannot learn it from the table while that is not laid out. */
function setWidth(table: HTMLTableElement, width: string): void {
    const box = table.parentElement!;
    for (const { style } of [table, box, box.parentElement!]) style.width = width;
}

function copyWidths(from: HTMLTableElement, to: HTMLTableElement): void {
    setWidth(to, from.style.width);
    const columns = [...from.querySelectorAll('col')];
    [...to.querySelectorAll('col')].forEach((column, index) => {
        column.style.width = columns[index]!.style.width;
    });
}
