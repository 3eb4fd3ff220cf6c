import { element } from '../page/dom';
import { sameValue } from './changes';
import { stepMark, type StepState } from './stepMark';

interface ShownStep {
    node: HTMLElement;
    state: StepState;
}

/** The steps of the service's plan, with the one under way marked. */
export class PlanSteps {
    readonly node = element('ol', 'steps');
    private texts: string[] = [];
    private shown: ShownStep[] = [];

    constructor() {
        this.node.setAttribute('aria-label', 'Plan');
        this.node.hidden = true;
    }

    update(texts: string[], current: number): void {
        if (!sameValue(texts, this.texts)) {
            this.texts = texts;
            this.shown = texts.map((text) => {
                const node = element('li', 'step open', stepMark('open'), element('span', '', text));
                return { node, state: 'open' };
            });
            this.node.replaceChildren(...this.shown.map(({ node }) => node));
            this.node.hidden = texts.length === 0;
        }
        this.shown.forEach((step, index) => {
            mark(step, index < current ? 'done' : index === current ? 'current' : 'open');
        });
    }
}

function mark(step: ShownStep, state: StepState): void {
    if (step.state === state) return;
    step.state = state;
    step.node.className = `step ${state}`;
    step.node.firstChild!.replaceWith(stepMark(state));
    if (state === 'current') step.node.setAttribute('aria-current', 'step');
    else step.node.removeAttribute('aria-current');
}
