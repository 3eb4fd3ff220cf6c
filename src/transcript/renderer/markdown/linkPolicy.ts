const ALLOWED_SCHEMES = new Set(['http:', 'https:', 'mailto:']);

/**
 * The address a link may carry, in the form the URL parser gives it, or null when it may carry none.
 * Only absolute http, https and mailto addresses pass; addresses with a user name or password do not,
 * because "https://bank.example@evil.example" is read by people as the wrong host.
 */
export function allowedLink(address: string): string | null {
    let url: URL;
    try {
        url = new URL(address.trim());
    } catch {
        return null;
    }
    if (!ALLOWED_SCHEMES.has(url.protocol)) return null;
    if (url.protocol === 'mailto:') return url.href;
    return url.hostname && !url.username && !url.password ? url.href : null;
}

/** What a reader should know of a link before following it: its host, or the address of a mail link. Nothing of no address. */
export function linkDestination(href: string): string {
    if (!href) return '';
    const url = new URL(href);
    return url.protocol === 'mailto:' ? decodeSafely(url.pathname) : url.host;
}

function decodeSafely(text: string): string {
    try {
        return decodeURIComponent(text);
    } catch {
        return text;
    }
}

const INLINE_IMAGE = /^data:image\/(?:png|jpeg|webp|gif);base64,/i;
const STORED_FILE = /^teskal-app:\/\/file\/[A-Za-z0-9_-]+$/;

/** Whether the page may show this address as an image: stored files and inline raster images only. */
export function isLocalImage(address: string | undefined): address is string {
    return address !== undefined && (INLINE_IMAGE.test(address) || STORED_FILE.test(address));
}
