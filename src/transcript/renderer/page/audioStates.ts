export type AudioState = 'loading' | 'playing' | 'idle';

/** Which answers are being read aloud. Kept here because the host tells it before an answer is drawn. */
export class AudioStates {
    private readonly states = new Map<string, AudioState>();
    private readonly watchers = new Map<string, (state: AudioState) => void>();

    set(messageId: string, state: AudioState): void {
        if (state === 'idle') this.states.delete(messageId);
        else this.states.set(messageId, state);
        this.watchers.get(messageId)?.(state);
    }

    /** Tells `watcher` the state now and whenever it changes, until the returned function is called. */
    watch(messageId: string, watcher: (state: AudioState) => void): () => void {
        this.watchers.set(messageId, watcher);
        watcher(this.states.get(messageId) ?? 'idle');
        return () => {
            if (this.watchers.get(messageId) === watcher) this.watchers.delete(messageId);
        };
    }
}
