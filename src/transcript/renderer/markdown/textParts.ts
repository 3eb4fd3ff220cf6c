/** Characters from which on a text without paragraphs is laid out part by part. */
export const LONG_TEXT = 6_000;
/** Characters of a part: some dozen lines. */
export const PART = 2_000;

/** What must not begin a part: the second half of a sign, and what is drawn on the sign before. */
const CONTINUES = /^(?:[\udc00-\udfff]|[\p{M}\p{Emoji_Modifier}\u200c\u200d])/u;
/** Signs that one may be made of. */
const LONGEST_SIGN = 64;

/**
 * Where to end a part that begins `text` and may be `room` long: behind its last space, or in a text without
 * spaces behind a sign. What follows `room` makes no difference, so that a part stays while a text grows.
 */
export function endOfPart(text: string, room: number): number {
    if (text.length <= room) return text.length;
    const space = text.slice(0, room).search(/\s\S*$/);
    if (space >= 0) return space + 1;
    let end = room;
    while (end > room - LONGEST_SIGN && end > 0 && CONTINUES.test(text.slice(end, end + 2))) end -= 1;
    return end > 0 ? end : room;
}
