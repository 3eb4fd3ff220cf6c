import type { Enhancer } from '../markdown/enhancer';
import type { NearWindow } from '../markdown/nearWindow';
import type { Sanitizer } from '../markdown/sanitizer';
import type { LinkCards } from '../message/linkCards';
import type { AudioStates } from './audioStates';
import type { HostPort } from './hostPort';
import type { OutOfSight } from './outOfSight';
import type { Announcer } from './announcer';
import type { Ticker } from './ticker';
import type MarkdownIt from 'markdown-it';

/** What the views of messages share. */
export interface Services {
    port: HostPort;
    markdown: MarkdownIt;
    sanitizer: Sanitizer;
    enhancer: Enhancer;
    nearWindow: NearWindow;
    outOfSight: OutOfSight;
    announcer: Announcer;
    linkCards: LinkCards;
    audio: AudioStates;
    /** Once a second: carets and elapsed times, which so are drawn together. */
    seconds: Ticker;
    /** A few times a second, for what is under way for moments only. */
    steps: Ticker;
}
