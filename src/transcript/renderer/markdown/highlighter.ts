import hljs from 'highlight.js/lib/common';

/** The code as HTML with coloured spans, or null when the language is not known. */
export function highlight(code: string, language: string): string | null {
    return hljs.getLanguage(language) ? hljs.highlight(code, { language, ignoreIllegals: true }).value : null;
}
