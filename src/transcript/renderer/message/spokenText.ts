import { plainText } from '../page/plainText';

/** What nobody wants to hear. */
const NOISE = '.code-head, .link-card, .caret, .note-reference, .note-number, svg';
/** Marks of lists, tasks and quotes at the beginning of a line. */
const MARKS = /^(?:[ \t]*(?:[-*>]|\[[ x]\])[ \t]+)+/gm;

/** The text of a drawn answer as it is read aloud: without code, unless code is all there is. */
export function spokenText(answer: HTMLElement): string {
    const words = answer.cloneNode(true) as HTMLElement;
    for (const noise of words.querySelectorAll(NOISE)) noise.remove();
    for (const formula of words.querySelectorAll<HTMLElement>('.math[data-tex]')) {
        formula.textContent = formula.dataset['tex'] ?? '';
    }
    const code = plainText(words).trim();
    for (const block of words.querySelectorAll('.code')) block.remove();
    return plainText(words).replace(MARKS, '').trim() || code;
}
