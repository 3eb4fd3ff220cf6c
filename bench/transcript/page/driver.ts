/** What the benchmark runs inside a page. The host starts one task at a time through `run`. */

interface Message {
    id: string;
    role: string;
    content: string;
    pending?: boolean;
}

/** The transcript page's own functions. */
declare const teskal: {
    setChat(chat: { id: string; messages: Message[] }): void;
};

/** The host's adapter in the page, which hands over what was appended alone. */
declare const teskalPort: {
    upsert(message: Message): void;
    grow(id: string, length: number, text: string): void;
};

const ANSWER = 'bench-answer';
/** Turns of the microtask queue after which everything that an update resolved has run. */
const TURNS = 4;

let text = '';
let grown = 0;
let receivedTurn = (): void => {};
const turns = new MessageChannel();
turns.port1.onmessage = () => receivedTurn();

/** Resolves in a task of its own; unlike a timer's, it is not put off by the engine. */
function nextTask(): Promise<void> {
    return new Promise((resolve) => {
        receivedTurn = resolve;
        turns.port2.postMessage(null);
    });
}

function pause(ms: number): Promise<void> {
    return new Promise((resolve) => setTimeout(resolve, ms));
}

function nextFrame(): Promise<number> {
    return new Promise((resolve) => requestAnimationFrame(resolve));
}

function forceLayout(): void {
    document.body.getBoundingClientRect();
}

/** Adds a piece as the application does. */
function grow(piece: string): void {
    teskalPort.grow(ANSWER, grown, piece);
    grown += piece.length;
}

const bench = {
    result: undefined as unknown,

    /** Does a task and says in the document's title that it is done; `result` is then what it gave. */
    async run(name: string, task: () => unknown): Promise<void> {
        try {
            bench.result = { value: await task() };
        } catch (error) {
            bench.result = { error: String(error) };
        }
        document.title = name;
    },

    /** Begins an answer that will come to be `whole`. */
    begin(whole: string): void {
        text = whole;
        grown = 0;
        teskal.setChat({ id: 'bench', messages: [] });
        teskalPort.upsert({ id: ANSWER, role: 'assistant', content: '', pending: true });
    },

    /** Lets the answer grow unmeasured, by pieces, to a length. */
    async feed(to: number, piece: number): Promise<void> {
        while (grown < to) {
            grow(text.slice(grown, Math.min(grown + piece, to)));
            await nextTask();
        }
        await pause(1500);
    },

    /**
     * Lets the answer grow by `piece` characters, `updates` times. Returns the milliseconds of each update's
     * script, what it left to microtasks included, and of its layout.
     */
    async stream(updates: number, piece: number, interval: number): Promise<{ script: number[]; layout: number[] }> {
        const script: number[] = [];
        const layout: number[] = [];
        for (let update = 0; update < updates; update += 1) {
            await pause(interval);
            const appended = text.slice(grown, grown + piece);
            const begin = performance.now();
            grow(appended);
            for (let turn = 0; turn < TURNS; turn += 1) await null;
            const drawn = performance.now();
            forceLayout();
            script.push(drawn - begin);
            layout.push(performance.now() - drawn);
        }
        return { script, layout };
    },

    /** Characters of text that the page shows. */
    shown: () => document.body.textContent?.length ?? 0,

    /** Resolves when what is in the document now is on the screen: at the frame after its frame. */
    async painted(): Promise<void> {
        await nextFrame();
        await nextFrame();
        performance.mark('bench-painted');
    },

    /** The smallest step of the page's clock, in milliseconds. */
    clockStep(): number {
        let step = Infinity;
        for (let round = 0; round < 50; round += 1) {
            const begin = performance.now();
            let now = begin;
            while (now === begin) now = performance.now();
            step = Math.min(step, now - begin);
        }
        return step;
    },
};

Object.assign(window, { bench });
