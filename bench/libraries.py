# SPDX-License-Identifier: Apache-2.0
"""What compare.py and stress.py both know of the libraries that are measured, and of this machine."""
import pathlib
import platform
import sys

OURS = "mimetree"
PEERS = ["gmime", "mimetic", "libetpan", "vmime", "python"]
COLOURS = {OURS: "#1f6feb", "gmime": "#8b949e", "mimetic": "#b08800", "libetpan": "#57ab5a",
           "vmime": "#e0823d", "python": "#986ee2"}


def program(build, library):
    """The command that measures a library; `build` is the build directory of `make bench`."""
    if library == "python":
        return [sys.executable, pathlib.Path(__file__).parent / "peers" / "python_email.py"]
    return [pathlib.Path(build) / "bench" / "peers" / ("peer_" + library)]


def there(build):
    """This library and those others whose programs were built."""
    return [n for n in [OURS, *PEERS] if program(build, n)[-1].exists()]


def processor():
    for line in open("/proc/cpuinfo"):
        if line.startswith("model name"):
            return line.split(":")[1].strip()
    return platform.machine()
