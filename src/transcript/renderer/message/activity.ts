import { textListMember, textMember } from './records';

/** What the service reports while it works on an answer. */
export interface Activity {
    phase: string;
    searches: string[];
    steps: string[];
    /** Index into `steps` of the one under way. */
    current: number;
}

/** More than that is no report that anybody reads. */
const MOST = 200;

/**
 * Reads an activity as received. The reports do not say which step is under way, so it is the step that the
 * phase names, by its text or its number, and the first one as long as none was named. Steps are not taken
 * back: while the plan of the report before goes on, so does its current step.
 */
export function readActivity(value: unknown, before?: Activity): Activity {
    const phase = textMember(value, 'phase');
    const steps = texts(value, 'steps');
    const goesOn = before?.steps.every((step, index) => step === steps[index]);
    return {
        phase: sentence(phase),
        searches: [...new Set(texts(value, 'searches'))],
        steps,
        current: Math.max(namedStep(phase, steps), goesOn ? before!.current : 0),
    };
}

function texts(value: unknown, key: string): string[] {
    return textListMember(value, key).map((text) => text.trim()).filter(Boolean).slice(0, MOST);
}

function namedStep(phase: string, steps: string[]): number {
    const number = /\bstep\s+(\d{1,3})\b/i.exec(phase)?.[1];
    if (number !== undefined) return Math.min(Math.max(Number(number), 1), steps.length) - 1;
    const wanted = phase.toLowerCase();
    return wanted ? steps.findIndex((step) => wanted.includes(step.toLowerCase())) : -1;
}

/** Machine words such as "web_search" as people write them. */
function sentence(phase: string): string {
    const words = /^[a-z]+(?:[_-][a-z]+)+$/.test(phase) ? phase.replace(/[_-]/g, ' ') : phase;
    return words.charAt(0).toUpperCase() + words.slice(1);
}
