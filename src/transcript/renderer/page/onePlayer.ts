/** A player that begins to play stops the one that was playing. */
export function playOneAtATime(container: HTMLElement): void {
    container.addEventListener('play', ({ target }) => {
        for (const player of container.querySelectorAll<HTMLMediaElement>('audio, video')) {
            if (player !== target) player.pause();
        }
    }, true);
}
