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

loadStyles();

/** The drawn formula, or null when the source is not one: its text then stays as it is. */
export function drawFormula(tex: string, display: boolean): Element | null {
    const holder = document.createElement('span');
    try {
        // Built node by node, never through HTML text.
        katex.render(tex, holder, { ...OPTIONS, displayMode: display });
    } catch {
        return null;
    }
    const drawn = holder.firstElementChild;
    if (!drawn || drawn.querySelector(FORBIDDEN)) return null;
    // The few style attributes among the nodes are void under the page's policy; set as properties they count.
    for (const styled of drawn.querySelectorAll<SVGElement | HTMLElement>('[style]')) {
        styled.style.cssText = styled.getAttribute('style') ?? '';
    }
    return drawn;
}

function loadStyles(): void {
    const link = document.createElement('link');
    link.rel = 'stylesheet';
    link.href = 'math.css';
    document.head.append(link);
}
