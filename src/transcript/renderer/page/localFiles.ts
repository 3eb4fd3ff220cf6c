const STORED_FILE = /^teskal-app:\/\/file\/[A-Za-z0-9_-]+$/;
const INLINE_SOUND_OR_FILM = /^data:(?:audio|video)\/[a-z0-9.+-]+(?:;[^,;]{1,80})*;base64,/i;

/** Whether the page may play this address: stored files and inline data only. */
export function isLocalPlayable(address: string | undefined): address is string {
    return address !== undefined && (STORED_FILE.test(address) || INLINE_SOUND_OR_FILM.test(address));
}
