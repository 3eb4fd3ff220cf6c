import assert from 'node:assert/strict';
import { beforeEach, it } from 'node:test';
import type { HostMessage } from '../../src/transcript/renderer/message/records';
import type { HostPort } from '../../src/transcript/renderer/page/hostPort';
import { ServiceClient, type ServiceReply } from '../../src/transcript/renderer/page/serviceClient';

const timeouts = new Set<() => void>();
Object.assign(globalThis, {
    setTimeout: (late: () => void) => { timeouts.add(late); return late; },
    clearTimeout: (late: () => void) => { timeouts.delete(late); },
});

const reply: ServiceReply = { status: 200, body: '{}' };
let asked: string[] = [];
let client: ServiceClient;
let replies: (ServiceReply | null)[] = [];

beforeEach(() => {
    asked = [];
    replies = [];
    timeouts.clear();
    client = new ServiceClient({ post: (message: HostMessage) => message.type === 'fetch' && asked.push(`${message.id} ${message.method} ${message.path}`) } as unknown as HostPort);
});

async function settled(): Promise<void> {
    for (let turn = 0; turn < 5; turn += 1) await Promise.resolve();
}

function ask(...paths: string[]): void {
    for (const path of paths) void client.get(path).then((answer) => replies.push(answer));
}

it('asks three at a time, each with a number of its own', async () => {
    ask('/a', '/b', '/c', '/d');
    assert.deepEqual(asked, ['1 GET /a', '2 GET /b', '3 GET /c']);
    client.answered(2, reply);
    client.answered(2, reply);
    client.answered(99, reply);
    await settled();
    assert.deepEqual([asked.length, asked[3], replies], [4, '4 GET /d', [reply]]);
});

it('gives up what is late and what was abandoned, and hears no later answer', async () => {
    ask('/a', '/b', '/c', '/d');
    [...timeouts][0]!();
    assert.equal(asked.length, 4);
    client.abandonAll();
    client.answered(2, reply);
    await settled();
    assert.deepEqual([replies, timeouts.size], [[null, null, null, null], 0]);
    ask('/e');
    assert.equal(asked.at(-1), '5 GET /e');
});
