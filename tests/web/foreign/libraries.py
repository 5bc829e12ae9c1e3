#!/usr/bin/env python3
"""A client of a Python library that pings by itself: libraries.py LIBRARY URL SECONDS INTERVAL"""
import asyncio
import sys
import threading
import time

KEEP_ALIVE = bytes([5, 0, 0, 8, 3, 0, 0xF0, 0xF1])  # the lobby echoes it


async def websockets_client(url, seconds, interval):
    import websockets
    async with websockets.connect(url, ping_interval=interval, ping_timeout=interval) as socket:
        for pause in (seconds, 0):
            await socket.send(KEEP_ALIVE)
            assert await asyncio.wait_for(socket.recv(), 10) == KEEP_ALIVE
            await asyncio.sleep(pause)
    assert socket.close_code == 1000, socket.close_code


async def aiohttp_client(url, seconds, interval):
    import aiohttp
    async with aiohttp.ClientSession() as session:
        async with session.ws_connect(url, heartbeat=interval) as socket:
            for pause in (seconds, 0):
                await socket.send_bytes(KEEP_ALIVE)
                assert (await socket.receive(10)).data == KEEP_ALIVE
                if pause:  # it sees pongs only while it reads
                    try:
                        raise AssertionError(await asyncio.wait_for(socket.receive(), pause))
                    except asyncio.TimeoutError:
                        pass
        assert socket.close_code == 1000, socket.close_code


def websocket_client(url, seconds, interval):
    import websocket
    seen, faults = [], []

    def follow(app):
        app.send(KEEP_ALIVE, websocket.ABNF.OPCODE_BINARY)
        time.sleep(seconds)
        app.send(KEEP_ALIVE, websocket.ABNF.OPCODE_BINARY)

    def on_data(app, data, *_):
        seen.append(data)
        if len(seen) == 2:
            app.close()

    app = websocket.WebSocketApp(
        url, on_message=on_data, on_error=lambda _, error: faults.append(error),
        on_open=lambda app: threading.Thread(target=follow, args=(app,), daemon=True).start())
    app.run_forever(ping_interval=interval, ping_timeout=interval - 0.5, ping_payload="alive")
    assert seen == [KEEP_ALIVE] * 2 and not faults, (seen, faults)


library, url, seconds, interval = sys.argv[1], sys.argv[2], float(sys.argv[3]), float(sys.argv[4])
if library == "websocket":
    websocket_client(url, seconds, interval)
else:
    asyncio.run({"websockets": websockets_client, "aiohttp": aiohttp_client}[library](
        url, seconds, interval))
print("ok")
