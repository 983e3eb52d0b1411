#!/usr/bin/python3
"""A Modbus device built on pymodbus, reached over TCP on loopback, serving
the same fixed map as pymodbus_ascii_server.py until it is killed: Modbus TCP
(MBAP frames), or RTU frames carried raw over TCP with --rtu, as a serial
device server would pass them on.

    pymodbus_tcp_server.py [--rtu] SLAVE_ID

Listens on 127.0.0.1 on a port the system chooses, and prints "ready PORT"
once it listens. Run it with /usr/bin/python3, which sees Debian's
python3-pymodbus.
"""

import asyncio
import sys

from pymodbus.server import StartAsyncTcpServer
from pymodbus.transaction import ModbusRtuFramer, ModbusSocketFramer

from pymodbus_ascii_server import device_context


async def serve(framer, slave_id):
    server = await StartAsyncTcpServer(
        context=device_context(slave_id), framer=framer, address=("127.0.0.1", 0), defer_start=True
    )
    task = asyncio.create_task(server.serve_forever())
    await server.serving
    port = server.server.sockets[0].getsockname()[1]
    print("ready", port, flush=True)
    await task


def main():
    args = sys.argv[1:]
    framer = ModbusSocketFramer
    if args and args[0] == "--rtu":
        framer, args = ModbusRtuFramer, args[1:]
    if len(args) != 1:
        sys.exit("usage: pymodbus_tcp_server.py [--rtu] SLAVE_ID")
    asyncio.run(serve(framer, int(args[0])))


if __name__ == "__main__":
    main()
