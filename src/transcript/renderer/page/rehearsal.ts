import type { AnswerText } from '../message/answerText';
import { element } from './dom';

/** Something of everything that answers are made of, but what libraries of its own draw: they are loaded when they are used. */
const PASSAGE = `## What a reader sees

A paragraph of **several words**, *some of them* said with more weight, a [link](https://example.org/notes), and \`code\`
within the line. Another sentence makes it two lines long.

- first of \`three\` things
- second, **heavier**, https://example.org/manual
- third, *lighter*, ~~gone~~

1. one
2. two

| Name | Value |
|---|---:|
| first \`a\` | 120 |
| second **b** | 340 |
| third | 560 |

> What somebody else has said, [quoted](https://example.org).

\`\`\`
a line of code
another one
\`\`\`

And a last paragraph.
`;
/**
 * More than once, because the engine compiles better what has run often. From five times on, updates of the
 * first real answer that take long become no fewer.
 */
const SAMPLE = PASSAGE.repeat(5);
/** Characters that come at a time. */
const PIECE = 25;

/**
 * Lets `answer`, which stands nowhere yet, grow where nobody sees or hears it, each piece when the page has nothing else to do. The
 * engine compiles code and looks for fonts when they are first used; so it has done that when the first real
 * answer begins, which would stutter otherwise.
 *
 * @param mayGoOn whether nothing is under way that should not be held up
 */
export function rehearse(answer: AnswerText, mayGoOn: () => boolean): void {
    const stage = element('div', 'stage', answer.node);
    stage.inert = true;
    stage.ariaHidden = 'true';
    document.body.append(stage);
    let shown = 0;
    const goOn = (): void => {
        if (mayGoOn()) {
            const piece = SAMPLE.slice(shown, shown + PIECE);
            shown += piece.length;
            answer.update(SAMPLE.slice(0, shown), shown === SAMPLE.length, piece);
            stage.getBoundingClientRect();
        }
        if (shown < SAMPLE.length) requestIdleCallback(goOn);
        else stage.remove();
    };
    requestIdleCallback(goOn);
}
