#!/usr/bin/env python3
"""A TCP proxy that delays every byte by a fixed time each way, as a long
line would, without limiting throughput: the download benchmark's link with
added round-trip delay, or (with a round trip of 0) a byte counter.

    delay_proxy.py LISTEN_PORT TARGET_PORT ROUND_TRIP_MS [COUNT_FILE]

Listens on 127.0.0.1:LISTEN_PORT (0: a free port, printed on the first line
of output once listening) and forwards each connection to
127.0.0.1:TARGET_PORT, every chunk held for half the round trip in each
direction. Runs until killed. With COUNT_FILE, each connection appends a
line to it when both of its ends have closed: the bytes it carried from
client to server, then from server to client.
"""
import asyncio
import sys
import time


async def pump(reader, writer, delay, counts, which):
    queue = asyncio.Queue()

    async def deliver():
        while True:
            due, data = await queue.get()
            if data is None:
                break
            wait = due - time.monotonic()
            if wait > 0:
                await asyncio.sleep(wait)
            writer.write(data)
            await writer.drain()
        try:
            writer.write_eof()
        except OSError:
            pass

    sender = asyncio.ensure_future(deliver())
    try:
        while True:
            data = await reader.read(65536)
            counts[which] += len(data)
            queue.put_nowait((time.monotonic() + delay, data or None))
            if not data:
                break
    except OSError:
        queue.put_nowait((0, None))
    try:
        await sender
    except OSError:
        pass


async def main():
    listen_port, target_port, round_trip = int(sys.argv[1]), int(sys.argv[2]), float(sys.argv[3]) / 1000.0
    count_file = sys.argv[4] if len(sys.argv) > 4 else None

    async def handle(client_reader, client_writer):
        try:
            server_reader, server_writer = await asyncio.open_connection("127.0.0.1", target_port)
        except OSError:
            client_writer.close()
            return
        counts = [0, 0]
        await asyncio.gather(pump(client_reader, server_writer, round_trip / 2, counts, 0),
                             pump(server_reader, client_writer, round_trip / 2, counts, 1), return_exceptions=True)
        client_writer.close()
        server_writer.close()
        if count_file:
            with open(count_file, "a") as f:
                f.write("%d %d\n" % tuple(counts))

    server = await asyncio.start_server(handle, "127.0.0.1", listen_port)
    print(server.sockets[0].getsockname()[1], flush=True)
    async with server:
        await server.serve_forever()


if __name__ == "__main__":
    asyncio.run(main())
