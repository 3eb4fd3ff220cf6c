import katex from 'katex';

const OPTIONS = {
    throwOnError: true,
    strict: 'ignore',
    trust: false,
    maxExpand: 500,
    maxSize: 30,
} as const;

/** Elements a formula has no use for, whatever a later version of the library may come to offer. */
const FORBIDDEN = 'a, img, script, iframe, object, embed, foreignObject, use, image';

/** A node of the library's own tree, as far as it matters here. */
interface TreeNode {
    attributes?: Record<string, string>;
    children?: TreeNode[];
    toNode(): Element;
}
type TreeRenderer = (tex: string, options: katex.KatexOptions) => TreeNode;

// The library's entry point for those who draw its tree themselves; its types leave it out.
const { __renderToDomTree: renderTree } = katex as unknown as { __renderToDomTree: TreeRenderer };

loadStyles();

/** The drawn formula, or null when the source is not one: its text then stays as it is. */
export function drawFormula(tex: string, display: boolean): Element | null {
    try {
        const tree = renderTree(tex, { ...OPTIONS, displayMode: display });
        setStylesAside(tree);
        // Built node by node, never through HTML text.
        const drawn = tree.toNode();
        if (drawn.querySelector(FORBIDDEN)) return null;
        applyStyles(drawn);
        return drawn;
    } catch {
        return null;
    }
}

/** The page's policy voids style attributes; the same text set as a property counts. */
function setStylesAside(node: TreeNode): void {
    const { attributes } = node;
    if (attributes?.['style'] !== undefined) {
        attributes['data-style'] = attributes['style'];
        delete attributes['style'];
    }
    node.children?.forEach(setStylesAside);
}

function applyStyles(drawn: Element): void {
    for (const styled of drawn.querySelectorAll<SVGElement | HTMLElement>('[data-style]')) {
        styled.style.cssText = styled.dataset['style'] ?? '';
        styled.removeAttribute('data-style');
    }
}

function loadStyles(): void {
    const link = document.createElement('link');
    link.rel = 'stylesheet';
    link.href = 'math.css';
    document.head.append(link);
}
