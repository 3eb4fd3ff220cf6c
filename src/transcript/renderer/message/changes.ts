import type { ChatMessage } from './records';

/** The parts of a message that are drawn by separate pieces of its view. */
export type MessagePart = 'content' | 'attachments' | 'route' | 'activity' | 'pending' | 'error' | 'media';

const PARTS: readonly MessagePart[] =
    ['content', 'attachments', 'route', 'activity', 'pending', 'error', 'media'];

/**
 * Which parts differ between two versions of a message; all of them when there is no earlier version.
 * Every push brings freshly parsed objects, so values are compared, not identities.
 */
export function changedParts(before: ChatMessage | undefined, after: ChatMessage): Set<MessagePart> {
    return new Set(PARTS.filter((part) => !before || !sameValue(before[part], after[part])));
}

/** Deep equality of JSON-like values. Key order means nothing. */
export function sameValue(a: unknown, b: unknown): boolean {
    if (a === b) return true;
    if (typeof a !== 'object' || typeof b !== 'object' || a === null || b === null) return false;
    if (Array.isArray(a) !== Array.isArray(b)) return false;
    const keys = Object.keys(a);
    return keys.length === Object.keys(b).length
        && keys.every((key) => Object.hasOwn(b, key)
            && sameValue((a as Record<string, unknown>)[key], (b as Record<string, unknown>)[key]));
}
