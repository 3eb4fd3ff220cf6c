import type { ChatMessage } from './records';

/** An answer as it is drawn at the moment, for what stands around its text. */
export interface ShownAnswer {
    readonly message: ChatMessage;
    /** What is said when it is read aloud. */
    spokenText(): string;
}
