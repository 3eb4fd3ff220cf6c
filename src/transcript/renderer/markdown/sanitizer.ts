import createDOMPurify from 'dompurify';

type Purifier = ReturnType<typeof createDOMPurify>;

/** Exactly what our own Markdown renderer can produce; everything else in a model's answer is dropped. */
const TAGS = [
    'a', 'blockquote', 'br', 'code', 'div', 'em', 'h1', 'h2', 'h3', 'h4', 'h5', 'h6', 'hr', 'li', 'ol', 'p',
    'pre', 's', 'span', 'strong', 'table', 'tbody', 'td', 'th', 'thead', 'tr', 'ul',
];
const ATTRIBUTES = ['href', 'title', 'class', 'start', 'role', 'aria-label', 'data-language', 'data-tex'];

export class Sanitizer {
    private readonly purifier: Purifier;

    /** Needs a window of its own or the page's: its parser is what makes the result trustworthy. */
    constructor(window: Parameters<typeof createDOMPurify>[0]) {
        this.purifier = createDOMPurify(window);
    }

    /** A fragment that is safe to insert. */
    toFragment(html: string): DocumentFragment {
        return this.purifier.sanitize(html, {
            ALLOWED_TAGS: TAGS,
            ALLOWED_ATTR: ATTRIBUTES,
            ALLOW_DATA_ATTR: false,
            ALLOW_ARIA_ATTR: false,
            ALLOWED_URI_REGEXP: /^(?:https?|mailto):/i,
            RETURN_DOM_FRAGMENT: true,
        });
    }

    /** The same for highlighted code: spans with classes and nothing else. */
    codeToFragment(html: string): DocumentFragment {
        return this.purifier.sanitize(html, {
            ALLOWED_TAGS: ['span'],
            ALLOWED_ATTR: ['class'],
            ALLOW_DATA_ATTR: false,
            ALLOW_ARIA_ATTR: false,
            RETURN_DOM_FRAGMENT: true,
        });
    }
}
