import katex from 'katex';
import { hasLongCluster } from './clusters';
import { boundedMacros } from './formulaMacros';

/** Characters. A longer source is none that anybody reads as a formula. */
const LONGEST = 4_000;
/** Tokens that all macros defined in a formula may come to. */
const MOST_EXPANDED = 8_000;
/** Elements in each other, some seven for each root, fraction or script. Much deeper ones bring the page's process down. */
const DEEPEST = 300;
const MOST_ELEMENTS = 20_000;

const OPTIONS = {
    // The source is what screen readers are told. This engine makes nothing of MathML, and each copy in it
    // would be one more layer to place at every layout.
    output: 'html',
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
    if (tex.length > LONGEST || hasLongCluster(tex)) return null;
    try {
        const tree = renderTree(tex, { ...OPTIONS, displayMode: display, macros: boundedMacros(MOST_EXPANDED) });
        if (!isModest(tree)) return null;
        setStylesAside(tree);
        // Built node by node, never through HTML text.
        const drawn = tree.toNode();
        if (drawn.querySelector(FORBIDDEN)) return null;
        applyStyles(drawn);
        drawn.setAttribute('role', 'math');
        drawn.setAttribute('aria-label', tex);
        return drawn;
    } catch {
        return null;
    }
}

/** Whether a tree is small and shallow enough to be laid out. */
function isModest(tree: TreeNode): boolean {
    let level = [tree];
    let count = 0;
    for (let depth = 0; level.length > 0; depth += 1) {
        count += level.length;
        if (depth > DEEPEST || count > MOST_ELEMENTS) return false;
        level = level.flatMap(({ children }) => children ?? []);
    }
    return true;
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
