import type { Enhancer } from '../markdown/enhancer';
import type { Sanitizer } from '../markdown/sanitizer';
import type { HostPort } from './hostPort';
import type { Announcer } from './announcer';
import type MarkdownIt from 'markdown-it';

/** What the views of messages share. */
export interface Services {
    port: HostPort;
    markdown: MarkdownIt;
    sanitizer: Sanitizer;
    enhancer: Enhancer;
    announcer: Announcer;
}
