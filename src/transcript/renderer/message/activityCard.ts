import { element } from '../page/dom';
import { icon } from '../page/icons';
import { readActivity, type Activity } from './activity';
import { sameValue } from './changes';

/** Milliseconds; the same as the fold in the style sheet. */
const FOLD = 160;

/** Stands above a growing answer and tells what the service is doing. */
export class ActivityCard {
    readonly node = element('section', 'activity');
    private shown: Activity | undefined;

    constructor() {
        this.node.setAttribute('aria-label', 'Progress');
    }

    update(value: unknown): void {
        const activity = readActivity(value, this.shown?.current);
        if (sameValue(activity, this.shown)) return;
        this.shown = activity;
        const parts = [phaseLine(activity.phase), searchChips(activity.searches), stepList(activity)];
        this.node.replaceChildren(...parts.filter((part): part is HTMLElement => part !== null));
    }

    get isEmpty(): boolean {
        return !this.node.hasChildNodes();
    }

    /** Folds the card away and removes it. */
    fold(): void {
        const { node } = this;
        node.style.height = `${node.offsetHeight}px`;
        void node.offsetHeight;
        node.classList.add('folding');
        node.style.height = '0';
        setTimeout(() => node.remove(), FOLD);
    }
}

function phaseLine(phase: string): HTMLElement | null {
    return phase ? element('div', 'phase', mark('current'), element('span', '', phase)) : null;
}

function searchChips(searches: string[]): HTMLElement | null {
    if (searches.length === 0) return null;
    const list = element('ul', 'searches', ...searches.map((query) => element('li', '', query)));
    list.setAttribute('aria-label', 'Searches');
    return list;
}

function stepList({ steps, current }: Activity): HTMLElement | null {
    if (steps.length === 0) return null;
    const items = steps.map((step, index) => {
        const state = index < current ? 'done' : index === current ? 'current' : 'open';
        const item = element('li', `step ${state}`, mark(state), element('span', '', step));
        if (state === 'current') item.setAttribute('aria-current', 'step');
        return item;
    });
    const list = element('ol', 'steps', ...items);
    list.setAttribute('aria-label', 'Plan');
    return list;
}

function mark(state: 'done' | 'current' | 'open'): HTMLElement {
    const made = element('span', `mark ${state}`, state === 'done' ? icon('check') : null);
    if (state === 'done') {
        made.setAttribute('role', 'img');
        made.setAttribute('aria-label', 'Done');
    }
    return made;
}
