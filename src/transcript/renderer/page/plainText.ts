/** Elements whose contents stand on lines of their own. */
const BLOCKS = 'article, blockquote, div, h1, h2, h3, h4, h5, h6, hr, li, ol, p, pre, section, table, ul';

/**
 * The text of cleaned-up contents as people would type it: paragraphs apart by an empty line, list items with
 * their marks, quotes with theirs, table rows as lines with tabs, code as it is.
 */
export function plainText(root: Node): string {
    return blockText(root).replace(/[ \t]+$/gm, '').replace(/^\n+|\n+$/g, '');
}

function blockText(node: Node): string {
    const parts: string[] = [];
    let line = '';
    const endLine = () => {
        if (line.trim()) parts.push(line.trim());
        line = '';
    };
    for (const child of node.childNodes) {
        if (child instanceof Element && child.matches(BLOCKS)) {
            endLine();
            const text = elementText(child);
            if (text) parts.push(text);
        } else {
            line += inlineText(child);
        }
    }
    endLine();
    return parts.join(node instanceof Element && node.matches('li') ? '\n' : '\n\n');
}

function elementText(element: Element): string {
    switch (element.tagName) {
    case 'PRE': return (element.textContent ?? '').replace(/\n$/, '');
    case 'UL': return listText(element, () => '- ');
    case 'OL': return listText(element, numbers(element));
    case 'BLOCKQUOTE': return indented(blockText(element), '> ', '> ');
    case 'TABLE': return [...element.querySelectorAll('tr')].map(rowText).join('\n');
    default: return element.matches('.verbatim') ? element.textContent ?? '' : blockText(element);
    }
}

function listText(list: Element, mark: (index: number) => string): string {
    return [...list.children].map((item, index) => {
        const prefix = mark(index);
        return indented(blockText(item), prefix, ' '.repeat(prefix.length));
    }).join('\n');
}

function numbers(list: Element): (index: number) => string {
    const first = Number(list.getAttribute('start') ?? '1');
    return (index) => `${first + index}. `;
}

function rowText(row: Element): string {
    return [...row.children].map((cell) => inlineText(cell).trim()).join('\t');
}

function indented(text: string, first: string, rest: string): string {
    return text.split('\n').map((line, index) => (index === 0 ? first : line ? rest : rest.trimEnd()) + line).join('\n');
}

/** A line end in the source of a paragraph is a space to a reader. */
function inlineText(node: Node): string {
    if (node instanceof Text) return node.data.replace(/\s*\n\s*/g, ' ');
    if (node instanceof Element && node.tagName === 'BR') return '\n';
    return [...node.childNodes].map(inlineText).join('');
}
