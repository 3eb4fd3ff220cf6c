import createDOMPurify, { type Config } from 'dompurify';

type Purifier = ReturnType<typeof createDOMPurify>;

/** Exactly what our own Markdown renderer can produce; everything else in a model's answer is dropped. */
const TAGS = [
    'a', 'blockquote', 'br', 'code', 'div', 'em', 'h1', 'h2', 'h3', 'h4', 'h5', 'h6', 'hr', 'li', 'ol', 'p',
    'pre', 's', 'span', 'strong', 'sup', 'table', 'tbody', 'td', 'th', 'thead', 'tr', 'ul',
];
/** Attributes whose values are no addresses, and so need not look like one. */
const PLAIN_ATTRIBUTES = [
    'title', 'class', 'start', 'dir', 'role', 'tabindex', 'aria-label', 'data-language', 'data-tex', 'data-open-tex', 'data-note',
];

const CONFIG: Config = {
    ALLOWED_TAGS: TAGS,
    ALLOWED_ATTR: ['href', ...PLAIN_ATTRIBUTES],
    ADD_URI_SAFE_ATTR: PLAIN_ATTRIBUTES,
    ALLOWED_URI_REGEXP: /^(?:https?|mailto):/i,
    ALLOW_DATA_ATTR: false,
    ALLOW_ARIA_ATTR: false,
    IN_PLACE: true,
};

/**
 * A tag that is not one of these without attributes, or with an alignment alone. In HTML without such a tag
 * there is nothing that could be dropped, whatever its text says.
 */
const NOT_PLAIN = new RegExp(`<(?!/?(?:${TAGS.join('|')})>|t[dh] class="align-(?:right|center)">)`);

/** Calls per inert document. Each leaves an iterator in it, which slows the next until it is collected. */
const CALLS = 32;

export class Sanitizer {
    private readonly purifier: Purifier;
    /** Nothing in it runs or loads. One for many calls: to make a document takes longer than to fill one. */
    private inert: Document | undefined;
    private calls = 0;

    /** Takes the page's window: its parser is what makes the result trustworthy. */
    constructor(private readonly window: Parameters<typeof createDOMPurify>[0] & { document: Document }) {
        this.purifier = createDOMPurify(window);
        // Once: reading it for each call takes longer than most calls.
        this.purifier.setConfig(CONFIG);
    }

    /** A fragment that is safe to insert. */
    toFragment(html: string): DocumentFragment {
        if (this.calls++ % CALLS === 0) this.inert = this.window.document.implementation.createHTMLDocument('');
        const root = this.inert!.createElement('div');
        root.innerHTML = html;
        if (NOT_PLAIN.test(html)) this.purifier.sanitize(root);
        const fragment = this.inert!.createDocumentFragment();
        fragment.append(...root.childNodes);
        return fragment;
    }
}
