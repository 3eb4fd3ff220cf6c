/**
 * Finds what was appended to a text that is handed over whole each time, with line ends and null characters
 * as the parser would make them. Nothing but the comparison with the last text looks at all of it.
 */
export class AppendedText {
    private last = '';
    private endsInReturn = false;

    /**
     * What follows the last text, or null when `text` does not continue it; the next one must continue this.
     * With the `end` that was appended to the last text, if that is known, `text` itself is not looked at: it is
     * made of many pieces then, and to put them together costs as much as all else.
     */
    next(text: string, end?: string): string | null {
        const isKnown = end !== undefined && this.last.length + end.length === text.length;
        const continues = isKnown || text.startsWith(this.last);
        const added = isKnown ? end : text.slice(continues ? this.last.length : 0);
        const afterReturn = continues && this.endsInReturn;
        this.last = text;
        if (added || !continues) this.endsInReturn = added.endsWith('\r');
        if (!continues) return null;
        const appended = normalized(added);
        // The end of line was taken at the return already.
        return afterReturn && added.startsWith('\n') ? appended.slice(1) : appended;
    }
}

/** Line ends and null characters as the parser would make them, so that offsets hold. */
export function normalized(text: string): string {
    return /[\r\0]/.test(text) ? text.replace(/\r\n?/g, '\n').replace(/\0/g, '\uFFFD') : text;
}
