/** The beginning of a text that has room for so many characters only, and a sign that there is more. */
export function shortened(text: string, longest: number): string {
    // Not the first half of a sign alone.
    return text.length <= longest ? text : `${text.slice(0, longest).replace(/[\ud800-\udbff]$/, '')}…`;
}
