/** Records through the engine's debugging protocol how long the tasks of another page's main thread take. */

interface TraceEvent {
    name: string;
    pid: number;
    tid: number;
    ts: number;
    dur?: number;
    tdur?: number;
}

interface Reply {
    id?: number;
    method?: string;
    params?: { value?: TraceEvent[] };
    error?: { message: string };
}

/** Microseconds; `cpu` leaves out what other threads were given in between. */
interface Task {
    begin: number;
    wall: number;
    cpu: number;
}

let socket: WebSocket;
let events: TraceEvent[] = [];

/** Sends a request and resolves with the first message that `isEnd` accepts. */
function exchange(method: string, params: object, isEnd: (reply: Reply) => boolean): Promise<void> {
    return new Promise((resolve, reject) => {
        socket.onclose = () => reject(new Error('the debugger went away'));
        socket.onmessage = ({ data }) => {
            const reply = JSON.parse(String(data)) as Reply;
            if (reply.error) reject(new Error(reply.error.message));
            if (reply.method === 'Tracing.dataCollected') events.push(...(reply.params?.value ?? []));
            if (isEnd(reply)) resolve();
        };
        socket.send(JSON.stringify({ id: 1, method, params }));
    });
}

const taskTrace = {
    async start(address: string): Promise<void> {
        events = [];
        socket = new WebSocket(address);
        await new Promise((resolve, reject) => {
            socket.onopen = resolve;
            socket.onerror = () => reject(new Error('no debugger'));
        });
        const traceConfig = { includedCategories: ['toplevel', 'blink.user_timing'], excludedCategories: ['*'] };
        await exchange('Tracing.start', { traceConfig, transferMode: 'ReportEvents' }, ({ id }) => id === 1);
    },

    /** Ends the recording. Returns the process's main thread's tasks, and when it set its marks. */
    async stop(process: number): Promise<{ tasks: Task[]; marks: Record<string, number> }> {
        await exchange('Tracing.end', {}, ({ method }) => method === 'Tracing.tracingComplete');
        socket.onclose = null;
        socket.close();
        const ours = events.filter(({ pid, tid }) => pid === process && tid === process);
        const tasks = ours.filter(({ name, dur }) => name.endsWith('RunTask') && dur !== undefined)
            .map(({ ts, dur, tdur }) => ({ begin: ts, wall: dur!, cpu: tdur ?? dur! }));
        const marks = Object.fromEntries(ours.filter(({ name }) => name.startsWith('bench-'))
            .map(({ name, ts }) => [name, ts]));
        return { tasks, marks };
    },
};

Object.assign(window, { taskTrace });
