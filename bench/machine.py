"""What the figures were measured on and with."""
import os
import pathlib
import platform
import re
import subprocess
import time

import peers


def first_line(*command):
    done = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True)
    return done.stdout.splitlines()[0]


def processor():
    found = re.search(r"^model name\s*: (.*)$", pathlib.Path("/proc/cpuinfo").read_text(), re.M)
    return found[1] if found else platform.machine()


def memory():
    found = re.search(r"^MemTotal: +(\d+)", pathlib.Path("/proc/meminfo").read_text(), re.M)
    return f"{int(found[1]) / 1048576:.0f} GiB" if found else "unknown"


def kernel():
    """Its version; what stands behind that names who built it."""
    return re.match(r"[0-9.]*[0-9]", platform.release())[0]


def system():
    return re.search(r'^PRETTY_NAME="(.*)"', pathlib.Path("/etc/os-release").read_text(), re.M)[1]


def package(name):
    return first_line("dpkg-query", "--show", "--showformat=${Version}\n", name)


def build_type(build):
    cache = (build / "CMakeCache.txt").read_text()
    kind = re.search(r"^CMAKE_BUILD_TYPE:\w+=(.*)$", cache, re.M)[1]
    flags = re.search(rf"^CMAKE_CXX_FLAGS_{kind.upper()}:\w+=(.*)$", cache, re.M)[1]
    return f"{kind} ({flags})"


def describe(build):
    """Rows of a table: what, which."""
    return {
        "Date": time.strftime("%Y-%m-%d %H:%M UTC", time.gmtime()),
        "Revision": first_line("git", "describe", "--always", "--dirty"),
        "Processor": f"{processor()}, {os.cpu_count()} cores",
        "Memory": memory(),
        "System": f"{system()}, Linux {kernel()}, glibc {platform.libc_ver()[1]}",
        "Compiler": f"g++ {first_line('g++', '-dumpfullversion')}, {build_type(build)}",
        "GTK": package("libgtk2.0-0"),
        "X server": f"Xvfb {package('xvfb')}, window manager openbox {package('openbox')}",
        "Google Benchmark": package("libbenchmark-dev"),
        "valgrind": package("valgrind"),
        "Go": first_line("go", "version").split()[2],
        "Peers": ", ".join(f"{name} ({version})" for name, version in peers.versions().items()),
    }
