"""A switch client with asyncio, one command in flight. Arguments: PORT REQUEST REPLY.

Prints its language, then answers each line "run N" with the microseconds that N exchanges took.
"""

import asyncio
import platform
import sys
import time


class SwitchClient(asyncio.Protocol):
    def connection_made(self, transport):
        self.transport = transport
        self.received = b""
        self.reply = None

    def data_received(self, data):
        self.received += data
        if self.received.endswith(b"\r\n"):
            self.reply.set_result(self.received[:-2])
            self.received = b""

    def connection_lost(self, error):
        if self.reply and not self.reply.done():
            self.reply.set_exception(error or ConnectionResetError("the server has closed the connection"))

    def command(self, line):
        self.reply = asyncio.get_running_loop().create_future()
        self.transport.write(line)
        return self.reply


async def run(client, line, expected, count):
    start = time.perf_counter_ns()
    for _ in range(count):
        reply = await client.command(line)
        if reply != expected:
            raise ValueError(f"{line!r} was answered with {reply!r}")
    return (time.perf_counter_ns() - start) / 1000


def main():
    port, request, expected = sys.argv[1:]
    line = request.encode() + b"\n\r"
    loop = asyncio.new_event_loop()
    connecting = loop.create_connection(SwitchClient, "127.0.0.1", int(port))
    _, client = loop.run_until_complete(asyncio.wait_for(connecting, 10))
    print("Python", platform.python_version(), flush=True)
    for order in sys.stdin:
        count = int(order.removeprefix("run "))
        print(loop.run_until_complete(run(client, line, expected.encode(), count)), flush=True)


main()
