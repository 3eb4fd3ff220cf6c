import { element, iconButton } from '../page/dom';
import { icon } from '../page/icons';
import { readDecision, type DecisionRow } from './decision';
import { readRoute } from './route';

/** Who answered and how the request was judged, with a button that opens the reasons below it. */
export class RouteLine {
    readonly node = element('div', 'route-line');
    /** Stands below the line while it is open. */
    readonly reasons = element('dl', 'decision');
    private rows: DecisionRow[] = [];
    private readonly disclosure =
        iconButton('icon-button disclosure', 'Why this model', icon('chevronDown'), () => this.toggle());

    constructor() {
        this.reasons.hidden = true;
        this.disclosure.setAttribute('aria-expanded', 'false');
    }

    update(route: unknown): void {
        const line = readRoute(route);
        this.rows = line ? readDecision(route) : [];
        // The button stays where it is, and with it the focus.
        if (this.rows.length === 0) this.disclosure.remove();
        else if (!this.disclosure.parentNode) this.node.append(this.disclosure);
        for (const part of [...this.node.children]) if (part !== this.disclosure) part.remove();
        if (line) {
            this.node.prepend(element('span', 'route-dot'), element('span', 'route-name', line.name),
                ...line.details.map((detail) => element('span', 'route-detail', detail)));
        }
        if (!this.reasons.hidden) this.draw();
    }

    private toggle(): void {
        const opens = this.reasons.hidden === true;
        this.disclosure.setAttribute('aria-expanded', String(opens));
        this.reasons.hidden = !opens;
        if (opens) this.draw();
    }

    private draw(): void {
        this.reasons.replaceChildren(...this.rows.flatMap(({ label, values }) => [
            element('dt', '', label),
            ...values.map(({ text, figure }) => element('dd', '', element('span', '', text),
                figure ? element('span', 'figure', figure) : null)),
        ]));
    }
}
