#!/usr/bin/python3
"""A Modbus master built on pymodbus: sends the requests named on its command
line, one after the other, and prints what came back as JSON.

    pymodbus_client.py [--rtu] [--gap MS] TTY BAUD SLAVE_ID STEP...
    pymodbus_client.py --tcp HOST:PORT SLAVE_ID STEP...

ASCII unless --rtu; --gap MS waits that long after each answer before the
next request (none by default). --tcp speaks Modbus TCP to HOST:PORT instead.

A step is a function name and its numbers, one argument:
    "read_holding 0 5"  "read_input 0 1"  "read_coils 0 4"  "read_discrete 0 1"
    "write_register 0 4321"  "write_registers 2 0,16576"  "write_coil 1 1"
    "write_coils 0 1,0"  "mask_write 0 255 0"
The output is a list with one object per step: {"step", "registers"} or
{"step", "bits"} for a read, {"step", "written": true} for a write,
{"step", "exception": CODE} for an exception answer, {"step", "error": TEXT}
when nothing usable came back. Line: 8N1 (see pymodbus_ascii_server.py).
Run it with /usr/bin/python3, which sees Debian's python3-pymodbus.
"""

import json
import sys
import time

from pymodbus.client import ModbusSerialClient, ModbusTcpClient
from pymodbus.pdu import ExceptionResponse
from pymodbus.transaction import ModbusAsciiFramer, ModbusRtuFramer


def numbers(text):
    return [int(part) for part in text.split(",")]


def send(client, slave, step):
    name, *args = step.split()
    if name in ("read_holding", "read_input", "read_coils", "read_discrete"):
        address, count = int(args[0]), int(args[1])
        call = {
            "read_holding": client.read_holding_registers,
            "read_input": client.read_input_registers,
            "read_coils": client.read_coils,
            "read_discrete": client.read_discrete_inputs,
        }[name]
        return call(address, count, slave=slave), count
    if name == "write_register":
        return client.write_register(int(args[0]), int(args[1]), slave=slave), None
    if name == "write_registers":
        return client.write_registers(int(args[0]), numbers(args[1]), slave=slave), None
    if name == "write_coil":
        return client.write_coil(int(args[0]), args[1] == "1", slave=slave), None
    if name == "write_coils":
        return client.write_coils(int(args[0]), [n == 1 for n in numbers(args[1])], slave=slave), None
    if name == "mask_write":
        # pymodbus 3.0 hands this one's keywords to the request itself, which calls the address "unit".
        return client.mask_write_register(int(args[0]), int(args[1]), int(args[2]), unit=slave), None
    raise ValueError(f"unknown step '{step}'")


def outcome(step, answer, count):
    result = {"step": step}
    if isinstance(answer, ExceptionResponse):
        result["exception"] = answer.exception_code
    elif answer is None or answer.isError():
        result["error"] = str(answer)
    elif hasattr(answer, "registers"):
        result["registers"] = list(answer.registers)
    elif hasattr(answer, "bits") and count is not None:
        # Bits come padded to whole bytes; the rest of the last byte is not data.
        result["bits"] = [1 if bit else 0 for bit in answer.bits[:count]]
    else:
        result["written"] = True
    return result


def main():
    args = sys.argv[1:]
    framer, gap, tcp = ModbusAsciiFramer, 0.0, None
    while args and args[0].startswith("--"):
        if args[0] == "--tcp" and len(args) > 1:
            tcp, args = args[1], args[2:]
        elif args[0] == "--rtu":
            framer, args = ModbusRtuFramer, args[1:]
        elif args[0] == "--gap" and len(args) > 1:
            gap, args = float(args[1]) / 1000, args[2:]
        else:
            break
    if tcp:
        host, port = tcp.rsplit(":", 1)
        client = ModbusTcpClient(host, port=int(port), timeout=1, retries=0)
        slave, steps = int(args[0]), args[1:]
    else:
        if len(args) < 4:
            sys.exit("usage: pymodbus_client.py [--rtu] [--gap MS] TTY BAUD SLAVE_ID STEP...")
        tty, baud, slave, steps = args[0], int(args[1]), int(args[2]), args[3:]
        client = ModbusSerialClient(
            tty, framer=framer, baudrate=baud, bytesize=8, parity="N", stopbits=1, timeout=1, retries=0
        )
    if not client.connect():
        sys.exit(f"pymodbus_client: cannot connect to {tcp or tty}")
    results = []
    try:
        for number, step in enumerate(steps):
            if gap and number:
                time.sleep(gap)
            try:
                answer, count = send(client, slave, step)
            except Exception as error:  # pylint: disable=broad-except
                answer, count = None, None
                results.append({"step": step, "error": f"{type(error).__name__}: {error}"})
                continue
            results.append(outcome(step, answer, count))
    finally:
        client.close()
    print(json.dumps(results))


if __name__ == "__main__":
    main()
