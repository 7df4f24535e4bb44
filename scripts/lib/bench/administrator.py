"""What an administrator would do in place of /unblock, under Wine: a batch on reg.exe, or an export that is edited and
imported. The CPU time is that of all processes, the server's included."""

import pathlib
import re
import statistics

import wine
from measures import BINARIES, RESULTS
from unblock import z_path

USER_DATA = r"HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Installer\UserData\S-1-5-18\Products"
CLASSES = r"HKLM\SOFTWARE\Classes\Installer\Products"
FOLDER = RESULTS / "administrator"

# One reg.exe a question and a change, as such a batch is written. "%%K" is a product's key.
BATCH = f"""@echo off
for /f "delims=" %%K in ('reg query {USER_DATA} /reg:64') do call :product "%%K" "%%~nxK"
exit /b 0
:product
for /f "tokens=1,2,*" %%A in ('reg query %1\\InstallProperties /v LocalPackageNotExist /reg:64 2^>nul') do (
  if "%%B"=="REG_SZ" (
    reg add %1\\InstallProperties /v LocalPackage /d "%%C" /f /reg:64 >nul
    reg delete %1\\InstallProperties /v LocalPackageNotExist /f /reg:64 >nul
  )
)
reg query "{CLASSES}\\%~2\\SourceList" /v PackageNameNotExist /reg:64 >nul 2>nul
if errorlevel 1 exit /b 0
reg add "{CLASSES}\\%~2\\SourceList" /v PackageName /d zum_win.msi /f /reg:64 >nul
reg delete "{CLASSES}\\%~2\\SourceList" /v PackageNameNotExist /f /reg:64 >nul
exit /b 0
"""


def edited(text):
    """An export's text with each marked value under its own name, and the mark taken away."""
    text = re.sub(r'(?m)^"LocalPackageNotExist"=(.*)$', r'"LocalPackage"=\1\r\n"LocalPackageNotExist"=-', text)
    return re.sub(r'(?m)^"PackageNameNotExist"=.*$', '"PackageName"="zum_win.msi"\r\n"PackageNameNotExist"=-', text)


class Administrator:
    once = False

    def __init__(self, core):
        wine.adopt_orphans()
        self.wine = wine.Wine(core)
        FOLDER.mkdir(parents=True, exist_ok=True)
        self.batch = FOLDER / "unblock.cmd"
        self.batch.write_text(BATCH.replace("\n", "\r\n"), encoding="ascii", newline="")

    def run_batch(self):
        return self.wine.run(["cmd", "/c", z_path(self.batch)], orphans=True)

    def run_round_trip(self):
        """The edit isn't counted: an administrator's editor would take longer."""
        total = 0.0
        for name, key in (("user_data", USER_DATA), ("classes", CLASSES)):
            file = FOLDER / f"{name}.reg"
            file.unlink(missing_ok=True)
            total += self.wine.run(["reg", "export", key, z_path(file), "/y", "/reg:64"], orphans=True)
            text = pathlib.Path(file).read_bytes().decode("utf-16")
            file.write_bytes(edited(text).encode("utf-16"))
            total += self.wine.run(["reg", "import", z_path(file), "/reg:64"], orphans=True)
        return total

    def run_program(self):
        return self.wine.run([BINARIES / "zum_setup_util.exe", "/unblock"], orphans=True)

    def measure(self, way):
        self.wine.call(BINARIES / "bench_machine.exe", "mark")
        spent = way()
        self.wine.call(BINARIES / "bench_machine.exe", "check")
        return spent

    def run_round(self, rows, samples, shortest):
        for count in (100, 1000):
            self.wine.call(BINARIES / "bench_machine.exe", "make", str(count))
            for row in rows:
                store = samples[row.id]
                if row.id == "administrator_batch" and count > 100:
                    continue
                way = {"administrator_batch": self.run_batch, "administrator_round_trip": self.run_round_trip}[row.id]
                store.add("ours", str(count), self.measure(self.run_program))
                store.add("administrator", str(count), self.measure(way))

    def remarks(self, row, samples):
        for count, values in samples.sides["ours"].items():
            times = statistics.median(samples.values("administrator", count)) / statistics.median(values)
            yield f"the administrator's way takes {times:.0f} times as long at {count} products"

    def finish(self):
        self.wine.call(BINARIES / "bench_machine.exe", "make", "0")
