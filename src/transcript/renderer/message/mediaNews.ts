import type { IconName } from '../page/icons';
import type { ChatMessage, Media } from './records';

export interface MediaKind {
    name: string;
    sign: IconName;
}

const KINDS = new Map<string, MediaKind>([
    ['image', { name: 'image', sign: 'image' }],
    ['video', { name: 'video', sign: 'video' }],
    ['music', { name: 'song', sign: 'music' }],
]);
const UNKNOWN: MediaKind = { name: 'file', sign: 'file' };

/** What people call a kind of media, and its sign. */
export function kindOf({ type }: Media): MediaKind {
    return KINDS.get(type) ?? UNKNOWN;
}

/** How far media is, or what has become of it. */
export function mediaNews(media: Media): string {
    const { name } = kindOf(media);
    switch (media.status) {
    case 'pending': return `Making your ${name}…`;
    case 'error': return media.message || `The ${name} could not be made.`;
    default: return `Your ${name} is ready.`;
    }
}

/** What has become of an answer that is not under way any more. */
export function answerNews({ error, media }: ChatMessage): string {
    if (error) return error.message;
    return media ? mediaNews(media) : 'The answer is complete.';
}
