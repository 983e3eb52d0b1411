#!/usr/bin/python3
"""A Modbus device built on pymodbus, serving the same fixed map as
modbus_rtu_server.cpp until it is killed: ASCII, or RTU with --rtu.

    pymodbus_ascii_server.py [--rtu] TTY BAUD SLAVE_ID

The line is 8 data bits, no parity, 1 stop bit: a pseudo-terminal keeps 8 data
bits and no parity whatever it is asked for, and pyserial's setting of 7E1
then fails (EINVAL) on every opening but the first.
Prints "ready" once the line is open. Run it with /usr/bin/python3, which
sees Debian's python3-pymodbus.
"""

import asyncio
import sys

from pymodbus.datastore import ModbusSequentialDataBlock, ModbusServerContext, ModbusSlaveContext
from pymodbus.server import StartAsyncSerialServer
from pymodbus.transaction import ModbusAsciiFramer, ModbusRtuFramer

HOLDING = [0xFB2E, 0xFB2E, 0x0000, 0x4050, 0xBFC0, 0x0000, 0xBEEF, 0xFD2E, 0xB669, 0x00FA]
INPUT = [0x07E7, 0x1234]
COILS = [True, False, True, False, False, True, False, True]
DISCRETE = [False, True]


def device_context(slave_id):
    """The fixed map, served to requests for SLAVE_ID only."""
    device = ModbusSlaveContext(
        hr=ModbusSequentialDataBlock(0, HOLDING),
        ir=ModbusSequentialDataBlock(0, INPUT),
        co=ModbusSequentialDataBlock(0, COILS),
        di=ModbusSequentialDataBlock(0, DISCRETE),
        zero_mode=True,  # request address 0 is the block's first value
    )
    return ModbusServerContext(slaves={slave_id: device}, single=False)


async def serve(framer, tty, baud, slave_id):
    server = await StartAsyncSerialServer(
        context=device_context(slave_id),
        framer=framer,
        port=tty,
        baudrate=baud,
        bytesize=8,
        parity="N",
        stopbits=1,
        defer_start=True,
    )
    await server.start()
    if server.transport is None:
        sys.exit(f"pymodbus_ascii_server: cannot open {tty}")
    print("ready", flush=True)
    await server.serve_forever()


def main():
    args = sys.argv[1:]
    framer = ModbusAsciiFramer
    if args and args[0] == "--rtu":
        framer, args = ModbusRtuFramer, args[1:]
    if len(args) != 3:
        sys.exit("usage: pymodbus_ascii_server.py [--rtu] TTY BAUD SLAVE_ID")
    asyncio.run(serve(framer, args[0], int(args[1]), int(args[2])))


if __name__ == "__main__":
    main()
