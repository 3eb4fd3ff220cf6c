import { allowedLink, linkDestination } from '../markdown/linkPolicy';
import { NearWindow } from '../markdown/nearWindow';
import { isCaret } from '../markdown/patch';
import { element } from '../page/dom';
import type { ServiceClient } from '../page/serviceClient';
import { readLinkSummary, type LinkSummary } from './linkSummary';

/** Points outside the window at which the card of a link is fetched. */
const MARGIN = 400;

/**
 * Cards below links that stand alone in a paragraph. The service is asked when a link comes near the
 * window, once per address and chat; until it has answered, and when it fails, there is nothing to see.
 */
export class LinkCards {
    private readonly summaries = new Map<string, Promise<LinkSummary | null>>();
    private readonly near = new NearWindow(MARGIN);
    private chatId: string | undefined;

    constructor(private readonly service: ServiceClient) {}

    /** Another chat forgets what was asked for the one before. */
    showChat(id: string | undefined): void {
        if (id === this.chatId) return;
        this.near.forgetAll();
        this.chatId = id;
        this.summaries.clear();
        this.service.abandonAll();
    }

    /** Call it once for a block of an answer that will not change any more. */
    offer(block: HTMLElement): void {
        if (loneLink(block)) this.near.when(block, () => void this.addCard(block));
    }

    private async addCard(block: HTMLElement): Promise<void> {
        const url = loneLink(block);
        const summary = url ? await this.summaryOf(url) : null;
        if (url && summary && block.isConnected && !block.querySelector('.link-card')) {
            block.append(card(url, summary));
        }
    }

    private summaryOf(url: string): Promise<LinkSummary | null> {
        let summary = this.summaries.get(url);
        if (!summary) {
            summary = this.service.get(`/api/unfurl?url=${encodeURIComponent(url)}`)
                .then((reply) => (reply?.status === 200 ? readLinkSummary(reply.body) : null));
            this.summaries.set(url, summary);
        }
        return summary;
    }
}

/** The address of the link that is all there is in a block; null when there is more, or something else. */
function loneLink(block: HTMLElement): string | null {
    const paragraph = block.firstElementChild;
    if (block.childElementCount !== 1 || !(paragraph instanceof HTMLParagraphElement)) return null;
    const nodes = [...paragraph.childNodes]
        .filter((node) => !(node instanceof Text ? !node.data.trim() : isCaret(node)));
    const [link] = nodes;
    if (nodes.length !== 1 || !(link instanceof HTMLAnchorElement)) return null;
    const url = allowedLink(link.getAttribute('href') ?? '');
    return url?.startsWith('http') ? url : null;
}

function card(url: string, { title, description, site }: LinkSummary): HTMLElement {
    // The host is the link's own: a reply may call itself what it likes.
    const host = linkDestination(url).replace(/^www\./, '');
    const where = site && site.toLowerCase() !== host ? `${host} · ${site}` : host;
    const made = element('a', 'link-card',
        element('span', 'link-title', title),
        description ? element('span', 'link-description', description) : null,
        element('span', 'link-site', where));
    made.href = url;
    made.title = host;
    made.rel = 'noreferrer noopener';
    // The link itself stands above and has its stop already.
    made.tabIndex = -1;
    return made;
}
