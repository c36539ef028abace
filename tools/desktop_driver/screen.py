"""Pictures of the program's windows."""
import hashlib
import re
import subprocess

from .waiting import wait_until


def window_id(title):
    """The X window with this title, once the window manager lists it."""

    def look():
        listing = subprocess.run(["wmctrl", "-l"], capture_output=True, text=True, check=True)
        for line in listing.stdout.splitlines():
            number, _desktop, _host, name = (line.split(None, 3) + [""])[:4]
            if name == title:
                return number
        return None

    return wait_until(look, f"a window titled {title!r}")


def numbers_after(labels, command):
    """The numbers that follow each label in what a command prints."""
    text = subprocess.run(command, capture_output=True, text=True, check=True).stdout
    return [int(re.search(f"{label}[:=]? *(-?\\d+)", text)[1]) for label in labels]


def frame_of(number):
    """Where a window lies on the screen with its frame, as WIDTHxHEIGHT+X+Y."""
    x, y, width, height = numbers_after(
        ["Absolute upper-left X", "Absolute upper-left Y", "Width", "Height"],
        ["xwininfo", "-id", number],
    )
    left, right, top, bottom = numbers_after(
        [r"= ", r"= \d+, ", r"= \d+, \d+, ", r"= \d+, \d+, \d+, "],
        ["xprop", "-id", number, "_NET_FRAME_EXTENTS"],
    )
    return f"{left + width + right}x{top + height + bottom}+{x - left}+{y - top}"


def save_picture(title, path):
    """Saves a picture of a window with its frame and whatever lies over it, as PNG.

    Drawing goes on behind the program's back, so the picture is taken until two in a row agree.
    """
    number = window_id(title)
    last = []

    def settled():
        crop = ["-crop", frame_of(number), "+repage"]
        subprocess.run(["import", "-silent", "-window", "root", *crop, str(path)], check=True)
        pixels = subprocess.run(["convert", str(path), "rgb:-"], capture_output=True, check=True)
        last.append(hashlib.sha256(pixels.stdout).digest())
        return len(last) > 1 and last[-1] == last[-2]

    wait_until(settled, f"the window {title!r} to be drawn", pause=0.1)


def save_content(window, path):
    """Saves a picture of what is in a managed window, without its frame, as PNG.

    Brings the window to the front and, as above, waits for the drawing.
    """
    window.focus()
    last = []

    def settled():
        grab = ["import", "-silent", "-window", window.number, "ppm:-"]
        last.append(subprocess.run(grab, capture_output=True, check=True).stdout)
        return len(last) > 1 and last[-1] == last[-2]

    wait_until(settled, f"the window {window.number} to be drawn", pause=0.1)
    subprocess.run(["convert", "ppm:-", str(path)], input=last[-1], check=True)
