import { element, showText } from '../page/dom';
import { readActivity, type Activity } from './activity';
import { sameValue } from './changes';
import { PlanSteps } from './planSteps';
import { SearchList } from './searchList';
import { stepMark } from './stepMark';

/** Milliseconds; the same as the fold in the style sheet. */
const FOLD = 160;

/** Stands above a growing answer and tells what the service is doing. What is there already stays there. */
export class ActivityCard {
    readonly node = element('section', 'activity');
    private readonly phaseText = element('span');
    private readonly phase = element('div', 'phase', stepMark('current'), this.phaseText);
    private readonly searches = new SearchList();
    private readonly steps = new PlanSteps();
    private shown: Activity | undefined;

    constructor() {
        this.node.setAttribute('aria-label', 'Progress');
        this.node.append(this.phase, this.searches.node, this.steps.node);
    }

    update(value: unknown): void {
        const activity = readActivity(value, this.shown);
        if (sameValue(activity, this.shown)) return;
        const phase = phaseLine(activity);
        showText(this.phaseText, phase);
        this.phase.hidden = !activity.phase;
        this.searches.update(activity.searches);
        this.steps.update(activity.steps, activity.current);
        this.shown = activity;
    }

    get isEmpty(): boolean {
        const { phase, searches, steps } = this.shown ?? { phase: '', searches: [], steps: [] };
        return !phase && searches.length === 0 && steps.length === 0;
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

/** A phase may just repeat the step under way, which stands below it. */
function phaseLine({ phase, steps, current }: Activity): string {
    const repeats = phase && phase.toLowerCase() === steps[current]?.toLowerCase();
    return repeats ? `Step ${current + 1} of ${steps.length}` : phase;
}
