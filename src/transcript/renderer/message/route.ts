import { member, textMember } from './records';
import { shortened } from './shortened';

/** Characters of a part of the line. No model is called more, and the engine would measure all of it. */
const LONGEST = 120;

/** What the line under an answer says: who answered, and how the request was judged. */
export interface RouteLine {
    name: string;
    details: string[];
}

/** Reads a route as received; null when it names no model. */
export function readRoute(value: unknown): RouteLine | null {
    const name = textMember(value, 'name') || textMember(value, 'model');
    if (!name) return null;
    const effort = textMember(value, 'effort');
    const anonymized = textMember(value, 'anonymized');
    const details = [
        capitalized(textMember(value, 'lab')),
        capitalized(textMember(value, 'task')),
        capitalized(textMember(value, 'difficulty')),
        effort ? `${capitalized(effort)} effort` : '',
        member(value, 'web') === true ? 'Web' : '',
        anonymized && !/^(?:0|false|none)$/i.test(anonymized) ? 'Anonymized' : '',
    ];
    return {
        name: shortened(name, LONGEST),
        details: details.filter(Boolean).map((detail) => shortened(detail, LONGEST)),
    };
}

function capitalized(text: string): string {
    return text.charAt(0).toUpperCase() + text.slice(1);
}
