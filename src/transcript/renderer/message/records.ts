// The records the host hands over. They come from disk and from the network: every optional member may
// be missing, and members kept as received may have any shape.

export interface Attachment {
    name: string;
    mediaType: string;
    /** Where the page loads a stored file from. */
    url?: string;
    dataUrl?: string;
    fileId?: string;
    dropped?: boolean;
}

export interface Media {
    /** "image", "video" or "music". */
    type: string;
    url?: string;
    prompt?: string;
    /** "pending", "done" or "error". */
    status?: string;
    message?: string;
    fileId?: string;
    mediaType?: string;
    /** The result was removed from the stored copy. */
    dropped?: boolean;
    lyrics?: string;
    /** Milliseconds since 1970. */
    startedAt?: number;
}

export interface MessageError {
    code?: string;
    message: string;
}

export interface ChatMessage {
    id: string;
    role: string;
    content: string;
    attachments?: Attachment[];
    route?: unknown;
    activity?: unknown;
    pending?: boolean;
    error?: MessageError;
    media?: Media;
}

export interface Chat {
    id: string;
    messages: ChatMessage[];
}

/** What the page asks of the host. */
export type HostMessage =
    | { type: 'ready' }
    /** The whole chat stands in the page, and can be searched. */
    | { type: 'drawn' }
    | { type: 'retry' }
    | { type: 'signIn' }
    | { type: 'copy'; text: string }
    | { type: 'speak'; id: string; text: string }
    | { type: 'saveMedia'; id: string }
    | { type: 'openSheet'; sheet: 'credits' | 'keys' | 'routes' }
    | { type: 'openLink'; url: string }
    | { type: 'fetch'; id: number; path: string; method: string; body: string };

/** A member of a value kept as received, when that value is an object. */
export function member(value: unknown, key: string): unknown {
    return typeof value === 'object' && value !== null && Object.hasOwn(value, key)
        ? (value as Record<string, unknown>)[key]
        : undefined;
}

/** The same, when the member is a string with something in it; otherwise "". */
export function textMember(value: unknown, key: string): string {
    const found = member(value, key);
    return typeof found === 'string' ? found.trim() : '';
}

/** The same, for a list of strings; what is not a string is left out. */
export function textListMember(value: unknown, key: string): string[] {
    const found = member(value, key);
    return Array.isArray(found) ? found.filter((entry): entry is string => typeof entry === 'string') : [];
}
