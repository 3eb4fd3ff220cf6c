import type MarkdownIt from 'markdown-it';
import { noteKey, type NoteEnvironment } from './footnotePlugin';
import type { GrowthEnvironment } from './openEnd';

type References = Record<string, { href: string; title: string }>;

/** What the parser is handed as `env`: everything that is defined in one place of a text and used in others. */
export interface Environment extends NoteEnvironment, GrowthEnvironment {
    references: References;
    notes: Record<string, number>;
    noteCount: number;
}

/**
 * The link addresses and notes that a text defines. Those of its finished part are kept; each parse gets an
 * environment that sees them and writes beside them.
 */
export class Definitions {
    private readonly kept: Environment = { references: {}, notes: {}, noteCount: 0 };
    private shown: Environment = this.environment();

    /** @param grows whether more of the text may follow what is parsed */
    environment(grows = false): Environment {
        const { references, notes, noteCount } = this.kept;
        return { references: Object.create(references), notes: Object.create(notes), noteCount, grows };
    }

    /** What was defined in a part that is finished holds from now on. */
    keep({ references, notes, noteCount }: Environment): void {
        Object.assign(this.kept.references, references);
        Object.assign(this.kept.notes, notes);
        this.kept.noteCount = noteCount;
    }

    /** The labels that `now` defines and the environment of the last call did not, or otherwise, or the reverse. */
    changedTo(now: Environment, keptSince: Environment | undefined): Set<string> {
        const before = this.shown;
        this.shown = now;
        const changed = new Set<string>();
        const old = lookUp(before, keptSince);
        for (const env of [before, now, keptSince]) {
            for (const label of Object.keys(env?.references ?? {})) {
                const [a, b] = [old.references(label), now.references[label]];
                if (a?.href !== b?.href || a?.title !== b?.title) changed.add(label);
            }
            for (const label of Object.keys(env?.notes ?? {})) {
                if (old.notes(label) !== now.notes[label]) changed.add(label);
            }
        }
        return changed;
    }
}

/** What an environment knew before definitions made since then were added to those it sees. */
function lookUp(before: Environment, since: Environment | undefined) {
    const own = <T>(record: Record<string, T>, later: Record<string, T> | undefined, label: string): T | undefined =>
        Object.hasOwn(record, label) || !later || !Object.hasOwn(later, label) ? record[label] : undefined;
    return {
        references: (label: string) => own(before.references, since?.references, label),
        notes: (label: string) => own(before.notes, since?.notes, label),
    };
}

const LABEL = /\[((?:\\.|[^[\]\\])*)\]/g;

/** Every label that a text could refer to, in the form under which definitions are kept. */
export function labelsIn(md: MarkdownIt, text: string): string[] {
    const labels = new Set<string>();
    for (const [, label] of text.matchAll(LABEL)) {
        labels.add(md.utils.normalizeReference(label!));
        if (label!.startsWith('^')) labels.add(noteKey(label!.slice(1)));
    }
    return [...labels];
}
