#!/usr/bin/env python3
"""Runs the processor workload on orvo and on qemu-system-arm, and prints both rates.

    bench_workload.py ORVO FIRMWARE_DIRECTORY [REPETITIONS]

The images are bench/workload/workload.c, compiled by the same flags and linked for the nRF52832
and for qemu's MPS2 board with a Cortex-M4; for the nRF52832 once more with timers that count. The
instructions are those that orvo counts for its image less those of the empty image; the time of
each simulator is the best of the repetitions, less the time of its empty image. Without
qemu-system-arm only orvo is measured.
"""

import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import time

DONE = "256"  # firmware_done, where every image stays at its end


def run_orvo(orvo, image):
    """Returns (instructions, seconds, text)."""
    with tempfile.TemporaryDirectory() as directory:
        start = time.perf_counter()
        run = subprocess.run(
            [orvo, "-m", "nrf52832", "-i", image, "-u", "--mips", "-p", DONE, "-k", "1",
             "--sdk-port", "0"],
            cwd=directory, capture_output=True, text=True, check=True, timeout=600)
        seconds = time.perf_counter() - start
        log = (pathlib.Path(directory) / ".zandor" / "log.txt").read_text()
    return int(re.search(r"Num of instructions: (\d+)", log).group(1)), seconds, run.stdout


def run_qemu(qemu, image):
    """Returns (seconds, text)."""
    with tempfile.NamedTemporaryFile("r") as console:
        start = time.perf_counter()
        subprocess.run(
            [qemu, "-M", "mps2-an386", "-icount", "shift=0", "-nographic", "-monitor", "none",
             "-semihosting-config", "enable=on,target=native", "-serial", "file:" + console.name,
             "-kernel", image],
            stdin=subprocess.DEVNULL, check=True, timeout=600)
        return time.perf_counter() - start, console.read()


def first_line(text):
    return text.splitlines()[0] if text else ""


def main():
    if len(sys.argv) not in (3, 4):
        sys.exit(__doc__)
    orvo = str(pathlib.Path(sys.argv[1]).resolve())
    firmware = pathlib.Path(sys.argv[2]).resolve()
    repetitions = int(sys.argv[3]) if len(sys.argv) == 4 else 3
    qemu = shutil.which("qemu-system-arm")

    orvo_times, orvo_empty, timers_times, qemu_times, qemu_empty = [], [], [], [], []
    for _ in range(repetitions):  # in turn, so that a busy moment meets both
        empty, seconds, _ = run_orvo(orvo, str(firmware / "empty-nrf52832.bin"))
        orvo_empty.append(seconds)
        total, seconds, text = run_orvo(orvo, str(firmware / "workload-nrf52832.bin"))
        orvo_times.append(seconds)
        timers_times.append(run_orvo(orvo, str(firmware / "workload-timers-nrf52832.bin"))[1])
        if qemu:
            qemu_empty.append(run_qemu(qemu, str(firmware / "empty-mps2_an386.elf"))[0])
            seconds, qemu_text = run_qemu(qemu, str(firmware / "workload-mps2_an386.elf"))
            qemu_times.append(seconds)
            if first_line(qemu_text) != first_line(text):
                sys.exit("The two simulators disagree:\n%s\n%s" % (text, qemu_text))

    instructions = total - empty
    orvo_seconds = min(orvo_times) - min(orvo_empty)
    print("workload: %.1f million instructions, %s" % (instructions / 1e6, first_line(text)))
    print("orvo             %7.2f s  %8.1f MIPS" % (orvo_seconds, instructions / orvo_seconds / 1e6))
    timers_seconds = min(timers_times) - min(orvo_empty)
    print("  with timers    %7.2f s  %8.1f MIPS, a 16 MHz timer and an RTC beside the work"
          % (timers_seconds, instructions / timers_seconds / 1e6))
    if not qemu:
        print("qemu-system-arm  not installed")
        return
    qemu_seconds = min(qemu_times) - min(qemu_empty)
    print("qemu-system-arm  %7.2f s  %8.1f MIPS"
          % (qemu_seconds, instructions / qemu_seconds / 1e6))
    print("ratio            orvo / qemu-system-arm = %.3f" % (qemu_seconds / orvo_seconds))


if __name__ == "__main__":
    main()
