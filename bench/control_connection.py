#!/usr/bin/env python3
"""Measures the control connection of a running orvo.

    control_connection.py ORVO FIRMWARE_DIRECTORY [REPETITIONS]

Prints commands per second (bursts of get_device_time, whose answers are counted), the round trip of
one such command while a workload runs and while the chip is paused, events per second with a client
that reads (firmware that prints without end), and what a client that only listens costs the
workload. The client looks at the lengths of frames, not at their JSON, so that it measures orvo.
"""

import json
import pathlib
import socket
import statistics
import struct
import subprocess
import sys
import tempfile
import time

BURST = 20000
ROUND_TRIPS = 3000
EVENTS_SECONDS = 3
DONE = "256"  # firmware_done, where every image stays at its end


class Run:
    """An orvo with a client, which stands at tick 0 after the handshake."""

    def __init__(self, orvo, image, *options):
        self.directory = tempfile.TemporaryDirectory()
        self.process = subprocess.Popen(
            [orvo, "-i", image, "--sdk-port", "0", "--listen", "127.0.0.1", "-w", *options],
            cwd=self.directory.name, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        port = pathlib.Path(self.directory.name) / ".zandor" / "port"
        while not (port.exists() and port.read_text().endswith("\n")):
            time.sleep(0.001)
        self.socket = socket.create_connection(("127.0.0.1", int(port.read_text())))
        self.socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.buffer = b""
        self.send({"type": "handshake", "api_version": "1"})
        self.count_frames(2)  # its answer, and the event of the pause

    def send(self, message):
        self.socket.sendall(frame(message))

    def count_frames(self, number, seconds=60.0):
        """Reads that many frames, or for that long; returns how many came."""
        end = time.perf_counter() + seconds
        count, start, data = 0, 0, self.buffer
        while count < number and time.perf_counter() < end:
            while count < number and len(data) - start >= 4:
                behind = start + 4 + struct.unpack_from(">I", data, start)[0]
                if behind > len(data):
                    break
                start, count = behind, count + 1
            if count < number:
                block = self.socket.recv(1 << 20)
                if not block:
                    raise SystemExit("orvo has closed the connection")
                start, data = 0, data[start:] + block
        self.buffer = data[start:]
        return count

    def resume(self):
        self.send(command("resume_running"))
        self.count_frames(2)  # its answer and its event

    def end(self):
        self.socket.close()
        self.process.kill()
        self.process.wait()
        self.directory.cleanup()


def command(name):
    return {"type": "command", "peripheral_type": "nrf52832", "peripheral_name": "SUDO",
            "command": name}


def frame(message):
    text = json.dumps(message).encode()
    return struct.pack(">I", len(text)) + text


def commands_per_second(orvo, image):
    run = Run(orvo, image)
    run.resume()
    burst = frame(command("get_device_time")) * BURST
    start = time.perf_counter()
    run.socket.sendall(burst)
    run.count_frames(BURST)
    seconds = time.perf_counter() - start
    run.end()
    return BURST / seconds


def round_trip_us(orvo, image, running):
    run = Run(orvo, image)
    if running:
        run.resume()
    request = frame(command("get_device_time"))
    times = []
    for _ in range(ROUND_TRIPS if running else ROUND_TRIPS // 10):
        start = time.perf_counter()
        run.socket.sendall(request)
        run.count_frames(1)
        times.append(1e6 * (time.perf_counter() - start))
    run.end()
    return statistics.median(times)


def events_per_second(orvo, image):
    run = Run(orvo, image)
    run.resume()
    start = time.perf_counter()
    count = run.count_frames(1 << 60, EVENTS_SECONDS)
    seconds = time.perf_counter() - start
    run.end()
    return count / seconds


def workload_mips(orvo, image, with_client):
    """The rate that orvo itself gives, without and with a client that listens."""
    stop = ["--mips", "-p", DONE, "-k", "1"]
    if with_client:
        run = Run(orvo, image, *stop)
        run.resume()
        out = run.process.communicate()[0].decode()
        run.end()
    else:
        with tempfile.TemporaryDirectory() as directory:
            out = subprocess.run([orvo, "-i", image, "--sdk-port", "0", *stop], cwd=directory,
                                 capture_output=True, text=True, check=True).stdout
    return float(out.split("MIPS: ")[1].split()[0])


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    orvo = str(pathlib.Path(sys.argv[1]).resolve())
    firmware = pathlib.Path(sys.argv[2]).resolve()
    repetitions = int(sys.argv[3]) if len(sys.argv) == 4 else 3
    work, printing = str(firmware / "workload-nrf52832.bin"), str(firmware / "printing-nrf52832.bin")

    commands, running, paused, events, alone, listened = [], [], [], [], [], []
    for _ in range(repetitions):  # in turn, so that a busy moment meets all
        commands.append(commands_per_second(orvo, work))
        running.append(round_trip_us(orvo, work, True))
        paused.append(round_trip_us(orvo, work, False))
        events.append(events_per_second(orvo, printing))
        alone.append(workload_mips(orvo, work, False))
        listened.append(workload_mips(orvo, work, True))
    print("control connection, best of %d" % repetitions)
    print("commands in bursts        %10.0f per second" % max(commands))
    print("events of the UART        %10.0f per second" % max(events))
    print("round trip, running       %10.1f us, median of %d" % (min(running), ROUND_TRIPS))
    print("round trip, paused        %10.1f us" % min(paused))
    print("workload without client   %10.1f MIPS" % max(alone))
    print("workload with idle client %10.1f MIPS, %+.1f %%"
          % (max(listened), 100 * (max(listened) / max(alone) - 1)))


if __name__ == "__main__":
    main()
