#!/usr/bin/env python3
"""Measures zum_rehearse at scale: many machines in one call, and one large export.

    bench_rehearse.py PROGRAM FOLDER [--machines N] [--megabytes N]

The machines are folders in FOLDER, each with a link to one of 200 different exports of about 1 MB. Shown are time, the
processor time of all processes, the peak memory of the largest of them, and how both grow from a tenth of the machines
to all.
"""

import argparse
import os
import pathlib
import subprocess
import sys
import time

sys.dont_write_bytecode = True

INSTALLER = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Products"
CLASSES = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes\\Installer\\Products"
EXPORTS = 200
PRODUCTS = 1000  # make 1 MB


def product(number, marked):
    name = f"{number:08X}45A9D0E4C812D5E6F708192A"
    mark = "NotExist" if marked else ""
    path = f"C:\\\\Windows\\\\Installer\\\\{number:x}.msi"
    return (f'[{INSTALLER}\\{name}\\InstallProperties]\r\n"LocalPackage{mark}"="{path}"\r\n'
            f'"DisplayName"="Product number {number}"\r\n"DisplayVersion"="1.{number}.0"\r\n"Publisher"="Somebody"\r\n'
            f'"EstimatedSize"=dword:00001000\r\n\r\n[{CLASSES}\\{name}\\SourceList]\r\n'
            f'"PackageName{mark}"="zum_win.msi"\r\n"LastUsedSource"="n;1;C:\\\\sources\\\\{number}\\\\"\r\n\r\n')


def write_export(path, first, products):
    with open(path, "wb") as file:
        file.write(b"\xff\xfe" + "Windows Registry Editor Version 5.00\r\n\r\n".encode("utf-16-le"))
        for number in range(first, first + products):
            file.write(product(number, number % 50 == 0).encode("utf-16-le"))


def make_machines(folder, count):
    exports = folder / "exports"
    exports.mkdir(parents=True, exist_ok=True)
    for index in range(min(EXPORTS, count)):
        write_export(exports / f"{index}.reg", 1000 * index, PRODUCTS)
    for index in range(count):
        machine = folder / f"pc-{index:05}"
        machine.mkdir(exist_ok=True)
        link = machine / "installer.reg"
        link.unlink(missing_ok=True)
        link.symlink_to(exports / f"{index % EXPORTS}.reg")
    print(f"   an export: {(exports / '0.reg').stat().st_size / 1e6:.2f} MB, {PRODUCTS} products")


def measure(arguments, output):
    """Seconds, processor seconds, and KiB of the largest process; the program's own children count."""
    with open(output, "wb") as sink:
        start = time.monotonic()
        process = subprocess.Popen(arguments, stdout=sink)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        return time.monotonic() - start, usage.ru_utime + usage.ru_stime, usage.ru_maxrss, process.returncode


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program", type=pathlib.Path)
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--machines", type=int, default=10_000)
    parser.add_argument("--megabytes", type=int, default=500)
    options = parser.parse_args()
    folder, output = options.folder, options.folder / "output.json"
    make_machines(folder, options.machines)
    for count in (options.machines // 10, options.machines):
        listing = folder / "list"
        listing.write_text("".join(f"{folder}/pc-{index:05}\n" for index in range(count)))
        seconds, processor, peak, status = measure([options.program, "--json", "--folders-from", listing], output)
        lines = sum(1 for _ in open(output, "rb"))
        print(f"   {count:6} machines: {seconds:7.1f} s, {processor:7.1f} s of processors, {1000 * processor / count:.1f} ms "
              f"each, largest process {peak / 1024:.0f} MiB, status {status}, {lines} objects")
        if lines != count or status != 1:
            return 1
    large = folder / "large.reg"
    write_export(large, 1, options.megabytes * PRODUCTS)
    size = large.stat().st_size / 1e6
    seconds, processor, peak, status = measure([options.program, "--json", large], output)
    print(f"   one export of {size:.0f} MB: {seconds:.1f} s, largest process {peak / 1024:.0f} MiB "
          f"({peak * 1024 / (size * 1e6):.1f} times the file), status {status}")
    large.unlink()
    return 0 if status == 1 else 1


if __name__ == "__main__":
    sys.exit(main())
