"""Whether a window can be read: texts that are cut off, that lie over others, or lie outside.

The program tells where each control lies, and where its text lies as it was laid out, whether there
is room for it or not.
"""
import re
from typing import NamedTuple

import pyatspi

from .xwindows import run

# What shows a text of the program's own, and what else must not be covered by one.
TEXT_ROLES = {"label", "push button", "check box", "table column header", "page tab"}
OTHER_ROLES = {"text", "progress bar"}
# An entry narrower than this shows too little of a path or a name.
LEAST_ENTRY = 150


class Box(NamedTuple):
    """A rectangle on the screen."""

    x: int
    y: int
    width: int
    height: int

    def is_inside(self, other):
        return (
            other.x <= self.x
            and other.y <= self.y
            and self.x + self.width <= other.x + other.width
            and self.y + self.height <= other.y + other.height
        )

    def overlaps(self, other):
        return (
            self.x < other.x + other.width
            and other.x < self.x + self.width
            and self.y < other.y + other.height
            and other.y < self.y + self.height
        )

    def __str__(self):
        return f"{self.width}x{self.height}+{self.x}+{self.y}"


class Shown(NamedTuple):
    """A control that is on the screen."""

    role: str
    text: str
    place: Box
    drawn: Box  # where its text lies; of a control without a text its place
    around: list  # the places of the containers that it is in

    def __str__(self):
        return f"{self.role} {self.text!r} at {self.drawn}"


def screen():
    """The whole screen."""
    text = run("xwininfo", "-root")
    return Box(0, 0, *(int(re.search(rf"{side}: (\d+)", text)[1]) for side in ("Width", "Height")))


def text_box(control):
    """The text of a control and where it lies."""
    text = control.accessible.queryText()
    length = text.characterCount
    return text.getText(0, length), Box(*text.getRangeExtents(0, length, pyatspi.DESKTOP_COORDS))


def shown_below(control, around):
    """Every control on the screen below this one, which lies in the given places."""
    found = []
    for child in control.children():
        if not child.showing:
            continue
        role, place = child.role, Box(*child.place())
        if role in TEXT_ROLES:
            text, drawn = text_box(child)
            found.append(Shown(role, text, place, drawn if text else place, around))
        elif role in OTHER_ROLES:
            found.append(Shown(role, "", place, place, around))
        # The page of a notebook counts as part of its tab but does not lie in it.
        found += shown_below(child, around if role == "page tab" else [*around, place])
    return found


def shown_in(window):
    """Every control of a window that is on the screen."""
    return shown_below(window, [screen(), Box(*window.place())])


def faults(shown):
    """What is wrong with the controls of a window, as sentences; none if they can be read."""
    found = []
    for control in shown:
        if not control.drawn.is_inside(control.place):
            found.append(f"cut off by {control.place}: {control}")
        outside = [place for place in control.around if not control.place.is_inside(place)]
        if outside:
            found.append(f"reaches out of {outside[0]}: {control}")
        if control.role == "text" and control.place.width < LEAST_ENTRY:
            found.append(f"too narrow: {control}")
    for number, control in enumerate(shown):
        for other in shown[:number]:
            if control.drawn.overlaps(other.drawn):
                found.append(f"over each other: {other} and {control}")
    return found
