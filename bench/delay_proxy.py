#!/usr/bin/env python3
"""A TCP proxy that delays every byte by a fixed time each way, as a long
line would, without limiting throughput: the download benchmark's link with
added round-trip delay.

    delay_proxy.py LISTEN_PORT TARGET_PORT ROUND_TRIP_MS

Listens on 127.0.0.1:LISTEN_PORT (0: a free port, printed on the first line
of output once listening) and forwards each connection to
127.0.0.1:TARGET_PORT, every chunk held for half the round trip in each
direction. Runs until killed.
"""
import asyncio
import sys
import time


async def pump(reader, writer, delay):
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

    async def handle(client_reader, client_writer):
        try:
            server_reader, server_writer = await asyncio.open_connection("127.0.0.1", target_port)
        except OSError:
            client_writer.close()
            return
        await asyncio.gather(pump(client_reader, server_writer, round_trip / 2),
                             pump(server_reader, client_writer, round_trip / 2), return_exceptions=True)
        client_writer.close()
        server_writer.close()

    server = await asyncio.start_server(handle, "127.0.0.1", listen_port)
    print(server.sockets[0].getsockname()[1], flush=True)
    async with server:
        await server.serve_forever()


if __name__ == "__main__":
    asyncio.run(main())
