"""Measures on the screen how much each text of a program stands out from what it stands on.

By the definition of WCAG 2: 1 is no contrast at all, 21 black on white; 4.5 is asked for.
"""

import subprocess
from collections import Counter

LEAST = 4.5
EDGE = 3  # Pixels inside a widget's border, which may be a frame.


class Screen:
    """What a desktop's screen shows at the moment."""

    def __init__(self, desktop):
        words = ["import", "-window", "root", "-depth", "8", "ppm:-"]
        shown = subprocess.run(words, env=desktop.environment, capture_output=True, check=True).stdout
        kind, size, _, self._pixels = shown.split(b"\n", 3)
        assert kind == b"P6"
        self._width, self._height = map(int, size.split())

    def colours(self, box):
        """How often each colour is inside that area."""
        left, top, width, height = box
        left, right = left + EDGE, left + width - EDGE
        colours = Counter()
        for y in range(top + EDGE, top + height - EDGE):
            row = self._pixels[3 * (y * self._width + left) : 3 * (y * self._width + right)]
            colours.update(zip(row[0::3], row[1::3], row[2::3]))
        return colours

    def contrast(self, box):
        """That of the ink in the area to its ground; nothing where there is no ink, or not on the screen."""
        left, top, width, height = box
        if left < 0 or top < 0 or left + width > self._width or top + height > self._height:
            return None
        colours = self.colours(box)
        if len(colours) < 2:
            return None
        (ground, _), = colours.most_common(1)
        # A pixel or two may be those of a neighbour.
        inks = [colour for colour, count in colours.items() if count > 3 and colour != ground]
        return max((ratio(ground, ink) for ink in inks), default=None)


def luminance(colour):
    def linear(part):
        part /= 255
        return part / 12.92 if part <= 0.04045 else ((part + 0.055) / 1.055) ** 2.4

    red, green, blue = map(linear, colour)
    return 0.2126 * red + 0.7152 * green + 0.0722 * blue


def ratio(one, other):
    darker, lighter = sorted((luminance(one), luminance(other)))
    return (lighter + 0.05) / (darker + 0.05)


def contrasts_of(desktop, texts):
    """The texts, pairs of words and box, with the contrasts of those that can be seen whole."""
    screen = Screen(desktop)
    contrasts = [(words, screen.contrast(box)) for words, box in texts]
    return [(words, contrast) for words, contrast in contrasts if contrast is not None]


def faint_texts(contrasts):
    """Those that do not stand out enough."""
    return [f"{words!r}: {contrast:.2f}" for words, contrast in contrasts if contrast < LEAST]
