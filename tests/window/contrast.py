"""Measures on the screen how much each text of a program stands out from what it stands on.

By the definition of WCAG 2: 1 is no contrast at all, 21 black on white; 4.5 is asked for.
"""

import subprocess
from collections import Counter
from itertools import product

LEAST = 4.5
EDGE = 3  # Pixels inside a widget's border, which may be a frame.
SHADES = 1.25  # What stands out less is a shade of the ground.
LETTER = 8  # Pixels that the letters of a font of 16 points are high at the least; what is lower is a dot or a dash.


class Screen:
    """What a desktop's screen shows at the moment, or another picture in the PPM format."""

    def __init__(self, picture):
        kind, size, _, self._pixels = picture.split(b"\n", 3)
        assert kind == b"P6"
        self._width, self._height = map(int, size.split())

    @classmethod
    def of(cls, desktop):
        words = ["import", "-window", "root", "-depth", "8", "ppm:-"]
        return cls(subprocess.run(words, env=desktop.environment, capture_output=True, check=True).stdout)

    def contrast(self, box):
        """That of the weakest letter in the area to its ground; nothing where there is no ink, or not on the screen.

        A letter is as strong as its strongest pixel, for the edges of its strokes are blurred.
        """
        left, top, width, height = box
        if left < 0 or top < 0 or left + width > self._width or top + height > self._height:
            return None
        spots = [Spot(places) for places in spots_of(self.ink(box))]
        letters = [spot for spot in spots if spot.is_letter(width - 2 * EDGE, height - 2 * EDGE)]
        if not letters:
            return max((spot.contrast for spot in spots), default=None)
        return min(spot.contrast for spot in letters)

    def ink(self, box):
        """The places inside that area that are not the ground, each with its contrast to the ground."""
        left, top, width, height = box
        left, right = left + EDGE, left + width - EDGE
        lines = []
        for y in range(top + EDGE, top + height - EDGE):
            line = self._pixels[3 * (y * self._width + left) : 3 * (y * self._width + right)]
            lines.append(list(zip(line[0::3], line[1::3], line[2::3])))
        colours = Counter(colour for line in lines for colour in line)
        ((ground, _),) = colours.most_common(1) or [(None, 0)]
        contrasts = {colour: ratio(ground, colour) for colour in colours}
        inks = {colour: contrast for colour, contrast in contrasts.items() if contrast > SHADES}
        return {(x, y): inks[colour] for y, line in enumerate(lines) for x, colour in enumerate(line) if colour in inks}


class Spot:
    """Ink that hangs together: a letter, or some other drawing."""

    def __init__(self, places):
        self.contrast = max(places.values())
        self._columns, self._rows = zip(*places)

    def is_letter(self, width, height):
        """Whether it is as high as one and whole: what touches the area's edge is cut, or part of a frame."""
        left, right, top, bottom = min(self._columns), max(self._columns), min(self._rows), max(self._rows)
        return bottom - top >= LETTER - 1 and left > 0 and top > 0 and right < width - 1 and bottom < height - 1


def spots_of(ink):
    """The places with ink, grouped by what hangs together."""
    rest = dict(ink)
    while rest:
        edge, places = [rest.popitem()], {}
        while edge:
            (x, y), contrast = edge.pop()
            places[x, y] = contrast
            neighbours = product((x - 1, x, x + 1), (y - 1, y, y + 1))
            edge += [(place, rest.pop(place)) for place in neighbours if place in rest]
        yield places


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
    screen = Screen.of(desktop)
    contrasts = [(words, screen.contrast(box)) for words, box in texts]
    return [(words, contrast) for words, contrast in contrasts if contrast is not None]


def faint_texts(contrasts):
    """Those that do not stand out enough."""
    return [f"{words!r}: {contrast:.2f}" for words, contrast in contrasts if contrast < LEAST]
