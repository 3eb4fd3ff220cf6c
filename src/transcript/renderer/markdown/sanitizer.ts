import createDOMPurify, { type Config } from 'dompurify';

type Purifier = ReturnType<typeof createDOMPurify>;

/** Exactly what our own Markdown renderer can produce; everything else in a model's answer is dropped. */
const TAGS = [
    'a', 'blockquote', 'br', 'code', 'div', 'em', 'h1', 'h2', 'h3', 'h4', 'h5', 'h6', 'hr', 'li', 'ol', 'p',
    'pre', 's', 'span', 'strong', 'sup', 'table', 'tbody', 'td', 'th', 'thead', 'tr', 'ul',
];
/** Attributes whose values are no addresses, and so need not look like one. */
const PLAIN_ATTRIBUTES = [
    'title', 'class', 'start', 'role', 'tabindex', 'aria-label', 'data-language', 'data-tex', 'data-open-tex', 'data-note',
];

export class Sanitizer {
    private readonly purifier: Purifier;

    /** Takes the page's window: its parser is what makes the result trustworthy. */
    constructor(private readonly window: Parameters<typeof createDOMPurify>[0] & { document: Document }) {
        this.purifier = createDOMPurify(window);
    }

    /** A fragment that is safe to insert. */
    toFragment(html: string): DocumentFragment {
        return this.purify(html, {
            ALLOWED_TAGS: TAGS,
            ALLOWED_ATTR: ['href', ...PLAIN_ATTRIBUTES],
            ADD_URI_SAFE_ATTR: PLAIN_ATTRIBUTES,
            ALLOWED_URI_REGEXP: /^(?:https?|mailto):/i,
        });
    }

    private purify(html: string, config: Config): DocumentFragment {
        const fragment: DocumentFragment | null = this.purifier.sanitize(html, {
            ...config,
            ALLOW_DATA_ATTR: false,
            ALLOW_ARIA_ATTR: false,
            RETURN_DOM_FRAGMENT: true,
        });
        // Markup that leaves the parser without a body, such as a frame set, comes back as null.
        return fragment ?? this.window.document.createDocumentFragment();
    }
}
