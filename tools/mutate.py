#!/usr/bin/python3
"""Mutation probe: plants realistic one-line slips in the core, one at a time,
and sees whether the unit tests catch them.

Each mutant is an edit of one file (its original text must occur exactly
once). The probe works on a copy of the sources (build-mutate/tree, brought up to
the worktree on each start), so the worktree is never edited
and an interrupted run leaves nothing behind; the copy's file is restored
after every mutant all the same, Ctrl+C included. For each mutant it
rebuilds the unit-test programs only (ccache keeps that short), runs
ctest on the subsystems' labels with a time limit, and records caught (a test failed or timed
out, or the build broke) or survived.

    nice tools/mutate.py                 # every mutant
    nice tools/mutate.py --only 3,7      # some of them, by number
    nice tools/mutate.py --rev main      # the tests of another commit
    tools/mutate.py --list               # the mutants, numbered
"""

import argparse
import filecmp
import os
import shutil
import signal
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

# (file, original text, replacement, what the slip models)
MUTANTS = [
    # Codec
    ("src/modbus/FrameCodec.cpp", "buf[n] = low;\n  buf[n + 1] = high;", "buf[n] = high;\n  buf[n + 1] = low;",
     "CRC appended high byte first"),
    ("src/modbus/FrameCodec.cpp", "return buf[n] == (crc & 0xFF) && buf[n + 1] == (crc >> 8);",
     "return buf[n] == (crc >> 8) && buf[n + 1] == (crc & 0xFF);", "CRC checked high byte first"),
    ("src/modbus/FrameCodec.cpp", "(0 - (sum & 0xFF)) & 0xFF", "(sum & 0xFF)", "LRC not negated"),
    ("src/modbus/FrameCodec.cpp", "buf[L - 2] != 13", "buf[L - 2] != 10", "ASCII end marker CR taken for LF"),
    ("src/modbus/FrameCodec.cpp", "return c - 'a' + 10;", "return c - 'a';", "lower-case hex digit value"),
    ("src/modbus/RequestFrame.cpp", "expected = std::int64_t{CoilBytes(request.ReadQnt())} + 5;",
     "expected = std::int64_t{CoilBytes(request.ReadQnt())} + 4;", "expected answer length of a bit read off by one"),
    ("src/modbus/RequestFrame.cpp", "    Byte(value >> 8);\n    Byte(value & 0xFF);",
     "    Byte(value & 0xFF);\n    Byte(value >> 8);", "16-bit request field low byte first"),
    ("src/modbus/RequestFrame.cpp", "w.Byte(on ? 0xFF : 0x00);", "w.Byte(on ? 0x01 : 0x00);",
     "forced coil ON sent as 0x0100"),
    ("src/modbus/RequestFrame.cpp", "        w.Data(request, 4);\n        expected = 10;",
     "        w.Data(request, 4);\n        expected = 8;", "mask write answer length"),
    ("src/modbus/RequestFrame.cpp", "if (w.size() + 2 > buf.size())", "if (w.size() + 1 > buf.size())",
     "room for the CRC off by one"),
    # Master transaction
    ("src/modbus/MasterTransaction.cpp", "fail(counters.Ex2, kIllegalAddressText);",
     "fail(counters.Ex1, kIllegalAddressText);", "exception 2 counted as exception 1"),
    ("src/modbus/MasterTransaction.cpp", "fail(counters.TOErr, kTimeoutText);", "fail(counters.FrErr, kTimeoutText);",
     "time-out counted as a frame error"),
    ("src/modbus/MasterTransaction.cpp", "if (invalid) CountUp(counters.DtErr);", "(void)invalid;",
     "invalid answer not counted"),
    ("src/modbus/MasterTransaction.cpp", "if (length_ != count + 3) kind", "if (length_ != count + 2) kind",
     "answer length check off by one"),
    ("src/modbus/MasterTransaction.cpp", "return EchoesSent(6);", "return EchoesSent(5);",
     "echo of a single write compared one byte short"),
    ("src/modbus/MasterTransaction.cpp", "fail(counters.CRCErr, kCrcErrorText);", "fail(counters.FrErr, kCrcErrorText);",
     "CRC failure counted as a frame error"),
    ("src/modbus/MasterTransaction.cpp", "const bool writeEcho = request.Func() == 15 || request.Func() == 16;",
     "const bool writeEcho = request.Func() == 15;", "FC16 echo delivered as values"),
    ("src/modbus/SlaveEmulation.cpp", "if (quantity < 1 || quantity > 125) return Exception(3);",
     "if (quantity < 1 || quantity > 126) return Exception(3);", "register read quantity limit off by one"),
    # Slave emulation
    ("src/modbus/SlaveEmulation.cpp", "return start >= data_.Lowest(table) && start + quantity - 1 <= data_.Highest(table);",
     "return start >= data_.Lowest(table) && start + quantity <= data_.Highest(table);", "address range end off by one"),
    ("src/modbus/SlaveEmulation.cpp", "    if (!InRange(table, start, quantity)) return Exception(2);\n    return ReadInto",
     "    if (!InRange(table, start, quantity)) return Exception(3);\n    return ReadInto",
     "register read out of range answers exception 3"),
    ("src/modbus/SlaveEmulation.cpp", "if (value != 0x0000 && value != 0xFF00) return Exception(3);",
     "if (value != 0x0000 && value != 0x00FF) return Exception(3);", "coil ON value byte order"),
    ("src/modbus/SlaveEmulation.cpp", "quantity > 123 ||", "quantity > 125 ||", "FC16 quantity limit of FC3"),
    ("src/modbus/SlaveEmulation.cpp", "(current & andMask) | (orMask & ~andMask)", "(current & andMask) | orMask",
     "mask write OR mask not masked"),
    ("src/modbus/SlaveEmulation.cpp", "writeQuantity > 121", "writeQuantity > 123", "FC23 write quantity limit"),
    ("src/modbus/SlaveEmulation.cpp", "address > kHighestSlave", "address >= kHighestSlave",
     "highest slave address refused"),
    ("src/modbus/SlaveEmulation.cpp", "      CountUp(*counter[code]);\n      if (!enabled) return 0;",
     "      if (!enabled) return 0;\n      CountUp(*counter[code]);", "unanswered exception not counted"),
    ("src/modbus/MapSlaveData.cpp", "return values.empty() ? kEmptyHighest : values.rbegin()->first;",
     "return values.empty() ? kEmptyHighest : values.begin()->first;", "highest address of a map table"),
    ("src/modbus/MapSlaveData.cpp",
     "static_cast<std::uint16_t>(data[2 * i] * 256 + data[2 * i + 1]);",
     "static_cast<std::uint16_t>(data[2 * i + 1] * 256 + data[2 * i]);", "written register byte order"),
    ("src/modbus/MapSlaveData.cpp", "return it == limits.end() || value <= it->second;",
     "return it == limits.end() || value < it->second;", "register limit itself refused"),
    # Decoding and display
    ("src/convert/RegisterDecode.cpp", "if (isSigned && v > 32767) v -= 65536;", "if (isSigned && v > 32768) v -= 65536;",
     "signed 16-bit boundary"),
    ("src/convert/RegisterDecode.cpp", ": a[1] * 16777216.0 + a[0] * 65536.0 + a[3] * 256.0 + a[2];",
     ": a[3] * 16777216.0 + a[2] * 65536.0 + a[1] * 256.0 + a[0];", "Long word order"),
    ("src/convert/RegisterDecode.cpp", "code.typeField() == 4 ? a[1] : a[0];", "code.typeField() == 4 ? a[0] : a[1];",
     "Byte hi and Byte low exchanged"),
    ("src/convert/RegisterDecode.cpp", "(packed[byte] >> (bit % 8)) & 1", "(packed[byte] >> (7 - bit % 8)) & 1",
     "bit order within a byte"),
    ("src/convert/RegisterDecode.cpp", "std::swap(a[2], a[4]);", "std::swap(a[2], a[5]);", "Double word order"),
    ("src/convert/NumberFormat.cpp", "if (e < -4 || e >= 15) {", "if (e < -5 || e >= 15) {",
     "scientific threshold of the general form"),
    ("src/convert/NumberFormat.cpp", "const long total = std::lround(within) % 86400;",
     "const long total = static_cast<long>(within) % 86400;", "time of day truncated, not rounded"),
    ("src/convert/NumberFormat.cpp", "if (day < -657434.0 || day > 2958465.0)", "if (day < -657434.0 || day >= 2958465.0)",
     "last day of the date range refused"),
    ("src/convert/NumberFormat.cpp", "} else if (y == 0 && count >= 3 && !sections[2].empty()) {",
     "} else if (y == 0 && count >= 2 && !sections[2].empty()) {", "zero section chosen with two sections"),
    ("src/convert/DisplayText.cpp", "if (v < 0) v += word ? 65536.0 : 256.0;", "if (v < 0) v += word ? 65535.0 : 256.0;",
     "negative binary word offset"),
    ("src/convert/DisplayText.cpp", "const double y = v * k + x0;", "const double y = (v + x0) * k;",
     "scaling order"),
    ("src/convert/DisplayText.cpp", "if (code.hex() && !code.binary()) return HexText(v);",
     "if (code.hex()) return HexText(v);", "bit element with hex and binary shown hex"),
    ("src/convert/ValueEntry.cpp", "if (unsignedFlag) return {false, 0, 2 * posLimit + 1};",
     "if (unsignedFlag) return {false, 0, 2 * posLimit};", "unsigned range top off by one"),
    # Entry
    ("src/convert/ValueEntry.cpp", "if (IsIntegerType(code)) v = std::round(v);",
     "if (IsIntegerType(code)) v = std::floor(v);", "entry rounded down"),
    ("src/convert/ValueEntry.cpp", "if (scaled) v = (v - x0) / k;", "if (scaled) v = v / k - x0;",
     "inverse scaling order"),
    ("src/convert/ValueEntry.cpp", "inRange = inRange && v >= 0 && v <= std::ldexp(1.0, code.width()) - 1;",
     "inRange = inRange && v >= 0 && v <= std::ldexp(1.0, code.width());", "bit element range off by one"),
    ("src/convert/RegisterEncode.cpp", "double r = std::fmod(std::round(v), kModulus);",
     "double r = std::fmod(std::trunc(v), kModulus);", "encoding truncates"),
    ("src/convert/RegisterEncode.cpp", "const int slot = swapped ? words - 1 - i : i;",
     "const int slot = swapped ? i : words - 1 - i;", "encoded word order"),
    ("src/convert/RegisterEncode.cpp", "out.bytes[1] = static_cast<std::uint8_t>(LowBits(value));",
     "out.bytes[0] = static_cast<std::uint8_t>(LowBits(value));", "Byte low encoded into the high byte"),
    # Loader
    ("src/project/ProjectRecords.cpp", "  r.Top = in.ReadI32();\n  r.Left = in.ReadI32();",
     "  r.Left = in.ReadI32();\n  r.Top = in.ReadI32();", "element Top and Left read in the wrong order"),
    ("src/project/ProjectRecords.cpp", "  r.Value1 = in.ReadF64();\n  r.Value2 = in.ReadF64();",
     "  r.Value2 = in.ReadF64();\n  r.Value1 = in.ReadF64();", "emulation values read in the wrong order"),
    ("src/project/ProjectRecords.cpp", "  r.ReadAddr = in.ReadI32();\n  r.ReadQnt = in.ReadI32();",
     "  r.ReadQnt = in.ReadI32();\n  r.ReadAddr = in.ReadI32();", "request address and quantity read swapped"),
    ("src/project/ProjectRecords.cpp", "  out.WriteF64(r.k);\n  out.WriteF64(r.x0);",
     "  out.WriteF64(r.x0);\n  out.WriteF64(r.k);", "k and x0 written swapped"),
    ("src/project/ProjectLoader.cpp", "static_cast<std::int16_t>(raw[i] | (raw[i + 1] << 8))",
     "static_cast<std::int16_t>(raw[i] << 8 | raw[i + 1])", "section counts read big-endian"),
    ("src/project/ProjectLoader.cpp", "      case Table::Coil:\n        File(out_.CoilElements",
     "      case Table::Coil:\n        File(out_.DiscreteElements", "coil element filed as a discrete input"),
    # Port timing
    ("src/serial/LineTiming.cpp", "double SilenceT35Ms(double baudRate) {\n  return baudRate > kFixedAboveBaud",
     "double SilenceT35Ms(double baudRate) {\n  return baudRate >= kFixedAboveBaud", "fixed silence from 19200 on"),
    ("src/serial/LineTiming.cpp", "return baudRate > 0 ? 11000.0 / baudRate : 0;",
     "return baudRate > 0 ? 10000.0 / baudRate : 0;", "character of 10 bits"),
    ("src/serial/OverlappedRead.cpp", "return received_ > 0 && nowMs - lastMs_ >= Silence();",
     "return received_ > 0 && nowMs - lastMs_ > Silence();", "frame silence compared with >"),
    ("src/serial/OverlappedRead.cpp", "return intervalMs_ > 0 && received_ > 0 && nowMs - lastMs_ > intervalMs_;",
     "return intervalMs_ > 0 && received_ > 0 && nowMs - lastMs_ >= intervalMs_;", "interval gap compared with >="),
    ("src/serial/OverlappedRead.cpp", "if (totalMs_ > 0 && nowMs - startMs_ >= totalMs_) return true;",
     "if (totalMs_ > 0 && nowMs - startMs_ > totalMs_) return true;", "total time-out compared with >"),
    ("src/serial/OverlappedRead.cpp", "return intervalMs_ + (pending_ ? kLatencyAllowanceMs : 0);",
     "return intervalMs_ + (pending_ ? 0 : kLatencyAllowanceMs);", "latency allowance on the wrong frames"),
    ("src/serial/FrameRule.cpp", "if (length == MODBUS::kUnknown || length > kMaxFrame)",
     "if (length == MODBUS::kUnknown || length >= kMaxFrame)", "longest RTU frame refused"),
    ("src/serial/FrameRule.cpp", "heldBack = heldBack || (possible && !quiet);", "heldBack = heldBack || possible;",
     "a quiet line still waits for a frame"),
    # Sessions
    ("src/app/SessionFile.cpp", "    out.Integer(window.Timeout);\n    out.Integer(window.PollingPeriod);",
     "    out.Integer(window.PollingPeriod);\n    out.Integer(window.Timeout);", "window fields written swapped"),
    ("src/app/SessionFile.cpp", "session.Width = width;", "session.Width = session.Height;",
     "frame width read as its height"),
    ("src/app/SessionFile.cpp", "timing <= static_cast<std::int64_t>(LineTiming::Fast)",
     "timing < static_cast<std::int64_t>(LineTiming::Fast)", "last line timing not known"),
    ("src/app/SessionFile.cpp", "if (port.Timing != LineTiming::Classic || port.Echo) return true;",
     "if (port.Timing != LineTiming::Classic) return true;", "echo alone not saved"),
]

# Each subsystem's test program labels its tests with the subsystem's name;
# these are the quick ones (no real peers, no screen).
UNIT_LABELS = "^(modbus|convert|project|app|platform|serial|device|dialogs)$"
UNIT_PROGRAMS = ["quorvel_modbus_tests", "quorvel_convert_tests", "quorvel_project_tests", "quorvel_app_tests",
                 "quorvel_platform_tests", "quorvel_serial_tests", "quorvel_device_tests", "quorvel_dialogs_tests",
                 "quorvel_samples"]  # the sample project some tests load
COPIED = ["CMakeLists.txt", "cmake", "src", "tests", "samples", "tools", "packaging", "docs"]


def run(cmd, cwd, timeout, log):
    """Runs cmd in its own process group; returns its status, or None when it ran out of time."""
    with open(log, "w") as out:
        proc = subprocess.Popen(cmd, cwd=cwd, stdout=out, stderr=subprocess.STDOUT, start_new_session=True)
        try:
            return proc.wait(timeout=timeout)
        except subprocess.TimeoutExpired:
            os.killpg(proc.pid, signal.SIGKILL)
            proc.wait()
            return None
        except BaseException:
            os.killpg(proc.pid, signal.SIGKILL)
            proc.wait()
            raise


def refresh_copy(tree, source):
    """Brings the copy up to `source`: a file whose content differs is copied
    and stamped now, so that make rebuilds what it feeds whichever way the
    content went; an unchanged file keeps its stamp; gone files are removed."""
    wanted = set()
    for name in COPIED:
        top = os.path.join(source, name)
        paths = [top] if os.path.isfile(top) else [os.path.join(d, f) for d, _, fs in os.walk(top) for f in fs]
        for src in paths:
            rel = os.path.relpath(src, source)
            wanted.add(rel)
            dst = os.path.join(tree, rel)
            if os.path.isfile(dst) and filecmp.cmp(src, dst, shallow=False):
                continue
            os.makedirs(os.path.dirname(dst), exist_ok=True)
            shutil.copyfile(src, dst)
            shutil.copymode(src, dst)
    for d, _, fs in os.walk(tree):
        for f in fs:
            rel = os.path.relpath(os.path.join(d, f), tree)
            if rel not in wanted:
                os.remove(os.path.join(d, f))


def sources_at(rev, under):
    """The sources of commit `rev`, unpacked once under `under`."""
    commit = subprocess.run(["git", "-C", ROOT, "rev-parse", "--short", rev], check=True, capture_output=True,
                            text=True).stdout.strip()
    target = os.path.join(under, "rev-" + commit)
    if not os.path.isdir(target):
        os.makedirs(target + ".part", exist_ok=True)
        archive = subprocess.Popen(["git", "-C", ROOT, "archive", commit] + COPIED, stdout=subprocess.PIPE)
        subprocess.run(["tar", "-x", "-C", target + ".part"], stdin=archive.stdout, check=True)
        archive.wait()
        os.rename(target + ".part", target)
    return target


def configure(tree, build, log):
    if os.path.exists(os.path.join(build, "CMakeCache.txt")):
        return True
    cmd = ["cmake", "-S", tree, "-B", build, "-DQUORVEL_GUI=OFF", "-DCMAKE_BUILD_TYPE=RelWithDebInfo",
           "-DCMAKE_CXX_COMPILER_LAUNCHER=ccache", "-DCMAKE_C_COMPILER_LAUNCHER=ccache"]
    return run(cmd, tree, 600, log) == 0


def build_and_test(build, jobs, test_timeout, log_prefix, build_timeout=900):
    """'build' when the build broke, 'tests' when a test failed or timed out, '' when all passed."""
    status = run(["cmake", "--build", build, "-j%d" % jobs, "--target"] + UNIT_PROGRAMS, build, build_timeout,
                 log_prefix + ".build.log")
    if status != 0:
        return "build"
    status = run(["ctest", "-L", UNIT_LABELS, "--no-tests=error", "-j%d" % jobs, "--stop-on-failure", "--timeout", str(test_timeout)], build,
                 test_timeout * 4, log_prefix + ".test.log")
    return "" if status == 0 else "tests"


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build-dir", default=os.path.join(ROOT, "build-mutate"))
    parser.add_argument("--only", help="comma-separated mutant numbers")
    parser.add_argument("--rev", help="probe the tests of this commit instead of the worktree's")
    parser.add_argument("--list", action="store_true")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--timeout", type=int, default=60, help="seconds per test")
    args = parser.parse_args()

    if args.list:
        for n, (path, _, _, what) in enumerate(MUTANTS, 1):
            print("%3d  %-36s %s" % (n, path, what))
        return 0
    chosen = range(1, len(MUTANTS) + 1)
    if args.only:
        chosen = [int(n) for n in args.only.split(",")]

    tree = os.path.join(args.build_dir, "tree")
    build = os.path.join(args.build_dir, "build")
    logs = os.path.join(args.build_dir, "logs")
    os.makedirs(logs, exist_ok=True)
    refresh_copy(tree, sources_at(args.rev, args.build_dir) if args.rev else ROOT)
    if not configure(tree, build, os.path.join(logs, "configure.log")):
        print("mutate: cannot configure %s (see %s/configure.log)" % (build, logs))
        return 2
    # The unmutated tree must pass, or every mutant would look caught.
    # The first build of the copy is a whole one, and long on a shared machine.
    if build_and_test(build, args.jobs, args.timeout, os.path.join(logs, "baseline"), build_timeout=4 * 3600):
        print("mutate: the unmutated tests fail (see %s/baseline.*.log)" % logs)
        return 2

    caught, survived = [], []
    for n in chosen:
        path, original, replacement, what = MUTANTS[n - 1]
        target = os.path.join(tree, path)
        with open(target) as f:
            text = f.read()
        if text.count(original) != 1:
            print("%3d  SKIPPED   %s: the original text occurs %d times" % (n, path, text.count(original)))
            continue
        backup = target + ".orig"
        shutil.copy2(target, backup)
        started = time.time()
        try:
            with open(target, "w") as f:
                f.write(text.replace(original, replacement))
            outcome = build_and_test(build, args.jobs, args.timeout, os.path.join(logs, "m%02d" % n))
        finally:
            # The original back, stamped now, so that the next build compiles
            # it once more (ccache hands the old object back).
            shutil.move(backup, target)
            os.utime(target, None)
        verdict = {"build": "CAUGHT(b)", "tests": "CAUGHT", "": "SURVIVED"}[outcome]
        (caught if outcome else survived).append(n)
        print("%3d  %-9s %-36s %s (%.0f s)" % (n, verdict, path, what, time.time() - started), flush=True)

    total = len(caught) + len(survived)
    if total:
        print("\ncaught %d of %d (%.0f%%); survivors: %s" %
              (len(caught), total, 100.0 * len(caught) / total, ", ".join(map(str, survived)) or "none"))
    return 0


def stop(signum, frame):
    raise KeyboardInterrupt


if __name__ == "__main__":
    # Ended by kill as by Ctrl+C: the copy's file is restored either way.
    signal.signal(signal.SIGTERM, stop)
    signal.signal(signal.SIGINT, stop)
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        print("\nmutate: interrupted; the copy's file was restored")
        sys.exit(130)
