/**
 * Finds what was appended to a text that is handed over whole each time, with line ends and null characters
 * as the parser would make them. Nothing but the comparison with the last text looks at all of it.
 */
export class AppendedText {
    private last = '';

    /** What follows the last text, or null when `text` does not continue it; the next one must continue this. */
    next(text: string): string | null {
        const continues = text.startsWith(this.last);
        const from = continues ? this.last.length : 0;
        const afterReturn = continues && this.last.endsWith('\r');
        this.last = text;
        if (!continues) return null;
        const appended = normalized(text.slice(from));
        // The end of line was taken at the return already.
        return afterReturn && text[from] === '\n' ? appended.slice(1) : appended;
    }
}

/** Line ends and null characters as the parser would make them, so that offsets hold. */
export function normalized(text: string): string {
    return /[\r\0]/.test(text) ? text.replace(/\r\n?/g, '\n').replace(/\0/g, '\uFFFD') : text;
}
