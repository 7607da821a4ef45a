// A switch client with Node's `net`, one command in flight. Arguments: PORT REQUEST REPLY.
// Prints its language, then answers each line "run N" with the microseconds that N exchanges took.
import { once } from 'node:events';
import net from 'node:net';
import readline from 'node:readline';

class SwitchClient {
    constructor(socket) {
        this.socket = socket;
        this.received = '';
        socket.setEncoding('utf8');
        socket.on('data', (data) => {
            this.received += data;
            if (!this.received.endsWith('\r\n')) return;
            const reply = this.received.slice(0, -2);
            this.received = '';
            this.answered(reply);
        });
        socket.on('close', () => this.failed?.(new Error('the server has closed the connection')));
    }

    command(line) {
        return new Promise((resolve, reject) => {
            this.answered = resolve;
            this.failed = reject;
            this.socket.write(line);
        });
    }
}

const [port, request, expected] = process.argv.slice(2);
const line = `${request}\n\r`;
const socket = net.connect({ port: Number(port), host: '127.0.0.1', noDelay: true });
await once(socket, 'connect');
const client = new SwitchClient(socket);
console.log(`Node ${process.versions.node}`);
for await (const order of readline.createInterface({ input: process.stdin })) {
    const count = Number(order.slice('run '.length));
    const start = process.hrtime.bigint();
    for (let i = 0; i < count; ++i) {
        const reply = await client.command(line);
        if (reply !== expected) throw new Error(`"${request}" was answered with "${reply}"`);
    }
    console.log(Number(process.hrtime.bigint() - start) / 1000);
}
socket.destroy();
