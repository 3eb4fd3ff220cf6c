import { element } from '../page/dom';
import { icon } from '../page/icons';

export type StepState = 'done' | 'current' | 'open';

/** The round mark before a step. */
export function stepMark(state: StepState): HTMLElement {
    const made = element('span', `mark ${state}`, state === 'done' ? icon('check') : null);
    if (state === 'done') {
        made.setAttribute('role', 'img');
        made.setAttribute('aria-label', 'Done');
    }
    return made;
}
