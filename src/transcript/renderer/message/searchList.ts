import { element } from '../page/dom';

/** What the service has searched for, in the order of the searches. */
export class SearchList {
    readonly node = element('ul', 'searches');
    private shown: string[] = [];

    constructor() {
        this.node.setAttribute('aria-label', 'Searches');
        this.node.hidden = true;
    }

    update(searches: string[]): void {
        const continues = this.shown.every((query, index) => searches[index] === query);
        if (!continues) this.node.replaceChildren();
        const added = continues ? searches.slice(this.shown.length) : searches;
        this.node.append(...added.map((query) => element('li', '', query)));
        this.node.hidden = searches.length === 0;
        this.shown = searches;
    }
}
