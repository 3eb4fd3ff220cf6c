import type { IconName } from '../page/icons';
import type { Media } from './records';

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

/** What has become of media that is not under way any more. */
export function mediaNews(media: Media): string {
    const { name } = kindOf(media);
    return media.status === 'error' ? media.message || `The ${name} could not be made.` : `Your ${name} is ready.`;
}
