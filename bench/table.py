"""Rows of measurements, and the table that they make."""

import dataclasses
import random
import statistics

TITLES = (
    "workload", "server", "ours", "to reach", "curl", "ours / curl", "others", "CPU s ours / curl", "ratio", "peak MiB",
    "commands", "round trips", "connections",
)  # fmt: skip


@dataclasses.dataclass
class Row:
    """Texts, and blanks for what does not apply. Connections: control + data."""

    workload: str
    server: str
    ours: str
    to_reach: str
    curl: str = ""
    ratio: str = ""
    others: str = ""
    cpu: str = ""
    cpu_ratio: str = ""
    peak: str = ""
    commands: str = ""
    trips: str = ""
    connections: str = ""


def print_head(titles):
    print_cells(titles)
    print("|" + "---|" * len(titles), flush=True)


def print_row(row):
    print_cells(dataclasses.astuple(row))


def print_cells(cells):
    print("| " + " | ".join(cells) + " |", flush=True)


def paired(ours, theirs):
    """The median of the ratios of runs that took turns."""
    return f"{statistics.median(our / their for our, their in zip(ours, theirs)):.2f}"


def interval(ours, theirs, probability=0.9):
    """Where the median of those ratios lies with that probability, by pairs drawn again and again from what was seen."""
    ratios = [our / their for our, their in zip(ours, theirs)]
    chance = random.Random(1)
    medians = sorted(statistics.median(chance.choices(ratios, k=len(ratios))) for _ in range(10_000))
    beyond = int(len(medians) * (1 - probability) / 2)
    return f"{medians[beyond]:.2f}–{medians[-beyond - 1]:.2f}"


def median(values, form="{:.2f}"):
    return form.format(statistics.median(values))


def spread(values, form="{:.2f}"):
    """The median, and the least and the most where there is more than one value."""
    text = median(values, form)
    return text if len(values) < 2 else f"{text} ({form.format(min(values))}–{form.format(max(values))})"


def of_counts(counts):
    """The cells for what conversation.counts() answers."""
    return {
        "commands": str(counts["commands"]),
        "trips": str(counts["trips"]),
        "connections": f"{counts['control']} + {counts['data']}",
    }
