import { member, textMember } from './records';

/** One thing that the service says of how it chose: what it is, and its values. */
export interface DecisionRow {
    label: string;
    values: DecisionValue[];
}

export interface DecisionValue {
    text: string;
    /** A number that belongs to the text, such as a score. */
    figure: string;
}

/** Anything beyond is no explanation. */
const MOST_ROWS = 16;
const MOST_VALUES = 12;
const LONGEST_TEXT = 400;
const LONGEST_LABEL = 40;

/** What the line above the details says already. */
const ON_THE_LINE = new Set([
    'model', 'name', 'lab', 'task', 'difficulty', 'effort', 'web', 'title', 'anonymized', 'preference',
]);
const LABELS = new Map([
    ['reason', 'Why'], ['reasons', 'Why'], ['considered', 'Considered'], ['candidates', 'Considered'],
]);
const NAMES = ['name', 'model', 'id', 'title', 'label'];
const FIGURES = ['score', 'confidence', 'weight', 'value'];

/** Reads why a model was chosen from a route as received, whatever its shape; the reason comes first. */
export function readDecision(route: unknown): DecisionRow[] {
    const decision = member(route, 'decision');
    const told = Array.isArray(decision) ? [row('considered', decision)]
        : isObject(decision) ? rowsOf(decision) : [row('reason', decision)];
    const reasons = told.filter(({ label }) => label === 'Why');
    const details = ['preference', 'model'].map((key) => row(key, textMember(route, key)));
    const rows = [...reasons, ...details, ...told.filter(({ label }) => label !== 'Why')];
    return rows.filter(({ label, values }) => label && values.length > 0).slice(0, MOST_ROWS);
}

function rowsOf(decision: object): DecisionRow[] {
    return Object.entries(decision).slice(0, 2 * MOST_ROWS)
        .filter(([key]) => !ON_THE_LINE.has(key))
        .map(([key, value]) => row(key, value));
}

function row(key: string, value: unknown): DecisionRow {
    return { label: LABELS.get(key) ?? words(key), values: valuesOf(value) };
}

function valuesOf(value: unknown): DecisionValue[] {
    const values = Array.isArray(value) ? value.slice(0, MOST_VALUES).map(entry)
        : isObject(value) ? figuresOf(value) : [entry(value)];
    return values.filter(({ text }) => text);
}

function figuresOf(value: object): DecisionValue[] {
    return Object.entries(value).slice(0, MOST_VALUES)
        .map(([key, inner]) => ({ text: words(key), figure: scalar(inner) }));
}

function entry(value: unknown): DecisionValue {
    if (!isObject(value)) return { text: scalar(value), figure: '' };
    const first = (keys: string[]) => keys.map((key) => scalar(member(value, key))).find(Boolean) ?? '';
    return { text: first(NAMES), figure: first(FIGURES) };
}

function scalar(value: unknown): string {
    switch (typeof value) {
    case 'string': return value.trim().slice(0, LONGEST_TEXT);
    case 'number': return Number.isFinite(value) ? String(Math.round(value * 1000) / 1000) : '';
    case 'boolean': return value ? 'Yes' : 'No';
    default: return '';
    }
}

/** A member's name as people write it. */
function words(key: string): string {
    const spaced = key.replace(/([a-z])([A-Z])/g, '$1 $2').replace(/[_-]+/g, ' ').trim().toLowerCase();
    return (spaced.charAt(0).toUpperCase() + spaced.slice(1)).slice(0, LONGEST_LABEL);
}

function isObject(value: unknown): value is Record<string, unknown> {
    return typeof value === 'object' && value !== null && !Array.isArray(value);
}
