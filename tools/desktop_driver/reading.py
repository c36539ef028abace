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
# What shows a text that comes from elsewhere.
WRITTEN_ROLES = {"text", "table cell"}
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

    def within(self, others):
        """What of it lies within all of the others."""
        boxes = [self, *others]
        left, top = max(box.x for box in boxes), max(box.y for box in boxes)
        right = min(box.x + box.width for box in boxes)
        bottom = min(box.y + box.height for box in boxes)
        return Box(left, top, max(0, right - left), max(0, bottom - top))

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
    """The text of a control and where it lies; without a text the place of the control."""
    text = control.accessible.queryText()
    length = text.characterCount
    if length == 0:
        return "", Box(*control.place())
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
            found.append(Shown(role, text, place, drawn, around))
        elif role in OTHER_ROLES:
            found.append(Shown(role, "", place, place, around))
        # The page of a notebook counts as part of its tab but does not lie in it.
        found += shown_below(child, around if role == "page tab" else [*around, place])
    return found


class Written(NamedTuple):
    """A text that can be read, and what is to be seen of it."""

    what: str
    drawn: Box  # the place of the whole text
    seen: Box


def rows_area(table):
    """What a list has for its rows: all but the titles of its columns."""
    place = Box(*table.place())
    titles = [Box(*c.place()) for c in table.children() if c.role == "table column header"]
    height = max((title.height for title in titles), default=0)
    return Box(place.x, place.y + height, place.width, place.height - height)


def written_below(control, around):
    """Every text of an enabled control below this one, or of a cell, that is not out of sight."""
    found = []
    for child in control.children():
        if not child.showing or not child.sensitive:
            continue
        place = Box(*child.place())
        inside = [*around, rows_area(control)] if child.role == "table cell" else around
        if child.role in TEXT_ROLES | WRITTEN_ROLES:
            text, drawn = text_box(child)
            seen = drawn.within([*inside, place])
            if text and seen.width and seen.height:
                found.append(Written(f"{child.role} {text!r}", drawn, seen))
        found += written_below(child, inside if child.role == "page tab" else [*inside, place])
    return found


def written_in(window):
    """The texts of a window that can be read at the moment, each with where it is."""
    return written_below(window, [screen(), Box(*window.place())])


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
