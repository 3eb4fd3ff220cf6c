/** A macro as the formula library keeps it: its body, last token first. */
interface Macro {
    tokens: { text: string }[];
    unexpandable?: boolean;
}
type Expansion = Macro | string | (() => unknown) | undefined;

/**
 * The macros that one formula defines, for the library's option of that name. A few definitions can make
 * millions of signs out of a line, so together their expansions may come to no more than `most` tokens.
 */
export function boundedMacros(most: number): Record<string, string> {
    let left = most;
    const set = (macros: Record<string, Expansion>, name: string, macro: Expansion) => {
        if (typeof macro !== 'object' || macro.unexpandable) {
            macros[name] = macro;
            return true;
        }
        // What is given to a macro that repeats it grows faster than its own tokens tell.
        if (repeatsParameter(macro.tokens)) throw new RangeError('a macro repeats what it is given');
        macros[name] = () => {
            left -= macro.tokens.length + 1;
            if (left < 0) throw new RangeError('macros come to too much');
            return macro;
        };
        return true;
    };
    return new Proxy<Record<string, Expansion>>({}, { set }) as Record<string, string>;
}

function repeatsParameter(lastFirst: { text: string }[]): boolean {
    const used = new Set<string>();
    for (let at = lastFirst.length - 1; at > 0; at -= 1) {
        if (lastFirst[at]!.text !== '#') continue;
        at -= 1;
        const parameter = lastFirst[at]!.text;
        if (used.has(parameter)) return true;
        if (parameter !== '#') used.add(parameter);
    }
    return false;
}
