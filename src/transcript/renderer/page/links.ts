import { allowedLink } from '../markdown/linkPolicy';
import type { HostPort } from './hostPort';

/** Hands pressed links to the host instead of navigating; one that may not be opened does nothing. */
export function handleLinks(container: HTMLElement, port: HostPort): void {
    const open = (event: MouseEvent) => {
        const link = event.target instanceof Element ? event.target.closest('a') : null;
        if (!link || event.button > 1) return;
        event.preventDefault();
        const url = allowedLink(link.getAttribute('href') ?? '');
        if (url) port.post({ type: 'openLink', url });
    };
    container.addEventListener('click', open);
    container.addEventListener('auxclick', open);
}
