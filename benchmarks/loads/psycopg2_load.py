#!/usr/bin/python3
"""Loads a run with psycopg2: the library's statements on one connection, values as Python makes them, dictionaries
and lists. Writes what the C++ programs beside it write."""

import argparse
import array
import calendar
import json
import re
import struct
import time

import psycopg2

NAMES = "begin runs resources hardware masks thresholds settings gains apds febs cables".split()
NEVER_MARKED = {(4, 7, 15), (5, 7, 59), (14, 6, 42)}
COLUMN_OFFSETS = {"B": 1, "C": 2, "D": 3}


class Board:
    __slots__ = ("installed", "enabled", "module", "pixel_mask", "thresholds", "temperature_enabled", "temperature",
                 "voltage", "gains", "average_gain")

    def __init__(self):
        self.installed = self.enabled = self.temperature_enabled = False
        self.module = (0, 0, 0)
        self.pixel_mask = self.voltage = 0
        self.thresholds = None
        self.temperature = -100.0
        self.gains = [100.0] * 32
        self.average_gain = 0.0


def read_statements(path):
    """The statements by name, with parameters in psycopg2's form."""
    with open(path, encoding="utf-8") as lines:
        texts = [re.sub(r"\$(\d)", r"%(p\1)s", line.rstrip("\n")) for line in lines]
    return dict(zip(NAMES, texts))


def single(value):
    """A number with the precision of a C float."""
    return struct.unpack("f", struct.pack("f", value))[0]


def seconds_in(date):
    """Hours, minutes and seconds are taken one place to the right of where they stand, as the library does."""
    text = str(date)

    def piece(start, length):
        digits = re.match(r"\d*", text[start:start + length]).group()
        return int(digits or 0)
    return calendar.timegm((piece(0, 4), piece(5, 2), piece(8, 2), piece(12, 2), piece(15, 2), piece(18, 2)))


class Load:
    def __init__(self, database, statements):
        self.statements = statements
        self.connection = psycopg2.connect(database)
        self.connection.autocommit = True
        self.cursor = self.connection.cursor()
        self.cursor.execute(statements["begin"])
        self.sent = 0
        self.dcms = {}
        self.hardware = {}

    def ask(self, name, *values):
        self.sent += 1
        self.cursor.execute(self.statements[name], {f"p{i + 1}": value for i, value in enumerate(values)} or None)
        return self.cursor.fetchall()

    def run(self, number):
        config_id = self.ask("runs", number)[0][3]
        for _, kind, name, _, _ in self.ask("resources", number):
            if kind == "dcm":
                self.dcms[int(name[6:8]), int(name[9:11])] = [Board() for _ in range(64)]
        self.installed()
        self.configuration(config_id)
        self.settings(config_id)
        self.store_gains(self.pull())

    def named(self, name):
        """The boards of a DCM; none when the run does not have it."""
        return self.dcms.get((int(name[6:8]), int(name[9:11])), ())

    def installed(self):
        for diblock, dcm, port, *module in self.ask("hardware"):
            boards = self.dcms.get((int(diblock), int(dcm)))
            if boards is None or boards[port].installed or (int(diblock), int(dcm), port) in NEVER_MARKED:
                continue
            boards[port].installed = True
            boards[port].module = module

    def configuration(self, config_id):
        for name, enabled, masks in self.ask("masks", config_id):
            for port, (board, mask) in enumerate(zip(self.named(name), struct.unpack(">64i", masks))):
                if enabled >> port & 1:
                    board.enabled = True
                    board.pixel_mask = mask
        for name, packed in self.ask("thresholds", config_id):
            thresholds = struct.unpack(">2048h", packed)
            for port, board in enumerate(self.named(name)):
                if board.enabled:
                    board.thresholds = thresholds[32 * port:32 * port + 32]

    def settings(self, config_id):
        recorded = set()
        for name, port, enabled, temperature, voltage in self.ask("settings", config_id):
            boards = self.named(name)
            if not boards:
                continue
            board = boards[port]
            board.temperature_enabled = bool(enabled)
            board.voltage = voltage or 0
            if temperature is not None:
                board.temperature = single(temperature)
                recorded.add((name, port))
        last = -100.0
        for (diblock, dcm), boards in self.dcms.items():
            name = f"dcm-2-{diblock:02}-{dcm:02}"
            for port, board in enumerate(boards):
                if (name, port) not in recorded:
                    board.temperature = last
                last = board.temperature

    def gains(self):
        gains = {}
        serial = None
        for row_serial, batch, _, column, row, gain in self.ask("gains"):
            if row_serial != serial:
                serial, first_batch = row_serial, batch
                pixels = gains[serial] = array.array("f", [100.0] * 32)
            if batch == first_batch:
                pixels[4 * (row - 1) + COLUMN_OFFSETS.get(column, 0)] = gain
        return gains

    def pull(self):
        """FEB and APD by place."""
        gains = self.gains()
        apds = {}
        of_apd = array.array("f", [100.0] * 32)
        for serial, batch, target, vr, item, date, module, connection, _ in self.ask("apds"):
            of_apd = gains.get(serial, of_apd)
            added = seconds_in(date)
            if module not in apds or added > apds[module][5]:
                apds[module] = (item, connection, batch, target, vr, added, of_apd)
        febs = {}
        for _, intercept, slope, item, _, module, connection, _ in self.ask("febs"):
            febs.setdefault(module, (item, connection, intercept, slope or 0.02586))
        none = (-1, -1, -1, 2147483647, 4294967295.0, 0.0, array.array("f", [100.0] * 32))
        for diblock, dcm, port, _, _, _, module in self.ask("cables"):
            if module in febs:
                self.hardware[int(diblock), int(dcm), int(port)] = febs[module] + apds.get(module, none)
        return self.hardware

    def store_gains(self, hardware):
        for (diblock, dcm, port), facts in hardware.items():
            board = self.dcms[diblock, dcm][port] if (diblock, dcm) in self.dcms else None
            if board is None or not board.installed:
                continue
            gains = facts[-1]
            average = sum(gains) / 32
            # A hair's breadth decides as the sum of C floats does.
            if abs(100 - single(average)) > 10.000001:
                gains, average = [100.0] * 32, 100.0
            board.gains, board.average_gain = gains, average

    def close(self):
        self.cursor.execute("COMMIT")
        self.connection.close()


def weight(place):
    return 1 + place % 101


def place_of(diblock, dcm, port):
    return ((diblock - 1) * 12 + dcm - 1) * 64 + port


def answers(load):
    sums = dict.fromkeys(
        ["installed boards", "enabled boards", "modules", "pixel masks", "temperature controls", "temperatures",
         "voltages", "average gains", "gains", "thresholds", "FEBs", "FEB fits", "APDs", "APD tests", "APD voltages",
         "APD dates"], 0.0)
    for (diblock, dcm), boards in load.dcms.items():
        for port, board in enumerate(boards):
            place = place_of(diblock, dcm, port)
            block, plane, position = board.module
            sums["installed boards"] += board.installed
            sums["enabled boards"] += board.enabled
            sums["modules"] += weight(place) * (block + 7 * plane + 11 * position)
            sums["pixel masks"] += weight(place) * board.pixel_mask
            sums["temperature controls"] += weight(place) * board.temperature_enabled
            sums["temperatures"] += weight(place) * board.temperature
            sums["voltages"] += weight(place) * board.voltage
            sums["average gains"] += weight(place) * board.average_gain
            for pixel in range(32):
                sums["gains"] += weight(32 * place + pixel) * board.gains[pixel]
                if board.thresholds is not None:
                    sums["thresholds"] += weight(32 * place + pixel) * board.thresholds[pixel]
    for where, (feb, feb_connection, intercept, slope, apd, apd_connection, batch, target, vr, added, _) in \
            load.hardware.items():
        factor = weight(place_of(*where))
        sums["FEBs"] += factor * (feb + 7 * feb_connection)
        sums["FEB fits"] += factor * (intercept + 100 * slope)
        sums["APDs"] += factor * (apd + 7 * apd_connection)
        sums["APD tests"] += factor * (batch + 7 * target)
        sums["APD voltages"] += factor * vr
        sums["APD dates"] += factor * added
    return sums


def peak_kilobytes():
    with open("/proc/self/status", encoding="ascii") as status:
        return int(re.search(r"^VmHWM:\s+(\d+)", status.read(), re.MULTILINE).group(1))


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--run", type=int, default=13002, help="the run")
    parser.add_argument("--database", required=True, help="connection string of the far detector's database")
    parser.add_argument("--statements", required=True, help="file of the statements, one a line")
    options = parser.parse_args()
    statements = read_statements(options.statements)
    start = time.perf_counter()
    processor_start = time.process_time()
    load = Load(options.database, statements)
    load.run(options.run)
    load.close()
    milliseconds = 1000 * (time.perf_counter() - start)
    processor = 1000 * (time.process_time() - processor_start)
    peak = peak_kilobytes()
    print(json.dumps({"milliseconds": milliseconds, "processor_milliseconds": processor,
                      "peak_kilobytes": peak, "connections": 1,
                      "statements": load.sent, "rows": 0, "answers": answers(load)}))


if __name__ == "__main__":
    main()
