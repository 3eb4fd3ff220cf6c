import { textMember } from './records';

/** What a link leads to, as the service reports it. */
export interface LinkSummary {
    title: string;
    description: string;
    site: string;
}

/** Characters; whatever is longer is not a summary. */
const LONGEST_REPLY = 65_536;
const LONGEST_TITLE = 200;
const LONGEST_DESCRIPTION = 300;
const LONGEST_SITE = 60;

/** Reads a reply; null when it is no summary or has no title. */
export function readLinkSummary(body: string): LinkSummary | null {
    if (body.length > LONGEST_REPLY) return null;
    let value: unknown;
    try {
        value = JSON.parse(body);
    } catch {
        return null;
    }
    const title = line(textMember(value, 'title'), LONGEST_TITLE);
    if (!title) return null;
    return {
        title,
        description: line(textMember(value, 'description'), LONGEST_DESCRIPTION),
        site: line(textMember(value, 'site'), LONGEST_SITE),
    };
}

/** One line of plain text: no control characters, and none that turn the direction of what follows. */
function line(text: string, longest: number): string {
    const plain = text.replace(/[\p{Cc}\u2028\u2029\s]+/gu, ' ')
        .replace(/[\u061C\u200E\u200F\u202A-\u202E\u2066-\u2069]/g, '').trim();
    const characters = [...plain];
    return characters.length > longest ? `${characters.slice(0, longest - 1).join('').trimEnd()}…` : plain;
}
