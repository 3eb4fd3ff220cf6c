/** Milliseconds that the place one was led to stays marked. */
const MARKED = 1600;

/** Lets references to notes lead to the notes and back. Both stay inside `text`: another answer has its own. */
export function followNotes(text: HTMLElement): void {
    const follow = (event: Event) => {
        const link = event.target instanceof Element ? event.target.closest<HTMLElement>('[data-note], [data-note-back]') : null;
        if (!link?.matches('[role="link"]')) return;
        const { note, noteBack } = link.dataset;
        const target = note !== undefined
            ? [...text.querySelectorAll<HTMLElement>('.note-number')].find(({ dataset }) => dataset['noteBack'] === note)
            : [...text.querySelectorAll<HTMLElement>('.note-reference')].find(({ dataset }) => dataset['note'] === noteBack);
        if (!target) return;
        event.preventDefault();
        target.scrollIntoView({ block: 'center' });
        target.focus({ preventScroll: true });
        target.classList.add('note-target');
        setTimeout(() => target.classList.remove('note-target'), MARKED);
    };
    text.addEventListener('click', follow);
    text.addEventListener('keydown', (event) => {
        if (event.key === 'Enter') follow(event);
    });
}
