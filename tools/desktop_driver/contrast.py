"""How well texts stand out from their ground, measured in pictures of the windows."""
import collections
import subprocess

# Of a text in usual letters at least this part is ink.
INK = 0.02


class Picture:
    """A picture of a window's content that lies at a point of the screen."""

    def __init__(self, path, position):
        command = ["convert", str(path), "-depth", "8", "ppm:-"]
        done = subprocess.run(command, capture_output=True, check=True, timeout=60)
        _kind, size, _depth, self._pixels = done.stdout.split(b"\n", 3)
        self._width, self._height = map(int, size.split())
        self._position = position

    def colours(self, box):
        """How often each colour is in a rectangle of the screen, which must lie in the picture."""
        left, top = box.x - self._position[0], box.y - self._position[1]
        if not (0 <= left <= self._width - box.width and 0 <= top <= self._height - box.height):
            raise ValueError(f"{box} is not in the picture of {self._width}x{self._height}")
        found = collections.Counter()
        for row in range(top, top + box.height):
            begin = 3 * (row * self._width + left)
            line = self._pixels[begin : begin + 3 * box.width]
            found.update(zip(line[::3], line[1::3], line[2::3]))
        return found

    def contrast(self, box):
        """The contrast of a text to its ground, from 1 (invisible) to 21 (black on white)."""
        found = self.colours(box)
        (ground, _count), *_ = found.most_common(1)
        ratios = [(ratio_of(ground, colour), count) for colour, count in found.items()]
        ink = INK * box.width * box.height
        for ratio, count in sorted(ratios, reverse=True):
            ink -= count
            if ink <= 0:
                return ratio
        return 1.0


def luminance(colour):
    """How bright a colour is, from 0 to 1 (WCAG 2.1, relative luminance)."""
    parts = [part / 255 for part in colour]
    red, green, blue = (p / 12.92 if p <= 0.03928 else ((p + 0.055) / 1.055) ** 2.4 for p in parts)
    return 0.2126 * red + 0.7152 * green + 0.0722 * blue


def ratio_of(one, other):
    """The contrast of two colours (WCAG 2.1, contrast ratio)."""
    dark, bright = sorted((luminance(one), luminance(other)))
    return (bright + 0.05) / (dark + 0.05)
