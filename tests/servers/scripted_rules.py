"""The rules of the scripted server: which event they are for, and the steps that take the place of good behaviour."""

import re

_NUMBER, _OPTIONAL_NUMBER, _VERB, _TEXT, _NOTHING = r"\d+", r"(\d+)?", r"[A-Z]+", r".*", r""

# Every step by its name, with the form of what follows the name.
_STEPS = {
    "say": _TEXT, "raw": _TEXT, "flood": _NUMBER, "flood-lines": _NUMBER, "flood-replies": _NUMBER,
    "slowly": _NUMBER, "wait": _NUMBER, "idle": _NUMBER, "until": _VERB, "silence": _NOTHING,
    "default": _NOTHING, "encrypt": _NOTHING, "protect": _TEXT, "close": _NOTHING, "reset": _NOTHING,
    "narrow": _NUMBER, "deaf": _NOTHING, "accept": _NOTHING, "held": _NUMBER,
    "read": _OPTIONAL_NUMBER, "take": _NOTHING, "write": _OPTIONAL_NUMBER,
    "send": _TEXT, "send-file": _TEXT, "fill": _NUMBER, "repeat": _TEXT, "data-close": _NOTHING, "data-reset": _NOTHING,
}


def parse_step(step):
    """The step's name and what follows it. A step that begins with a digit is a reply line."""
    if step[:1].isdigit():
        return "say", step
    name, _, rest = step.partition(" ")
    if name not in _STEPS or not re.fullmatch(_STEPS[name], rest, re.DOTALL):
        raise ValueError(f"no such step: {step!r}")
    step.encode("latin-1")
    return name, rest


class Rule:
    """One rule, made from its JSON form. What is wrong with it raises ValueError."""

    _KEYS = {"on", "do", "nth", "times", "connection", "argument", "pipelined", "logins"}

    def __init__(self, description):
        if unknown := set(description) - self._KEYS:
            raise ValueError(f"unknown in a rule: {', '.join(sorted(unknown))}")
        self._on = description["on"]
        self._steps = [parse_step(step) for step in description["do"]]
        self._nth = description.get("nth")
        self._times = description.get("times")
        self._connection = description.get("connection")
        self._argument = re.compile(description.get("argument", ""))
        self._pipelined = description.get("pipelined", False)
        self._logins = description.get("logins", 0)
        self._fitting = 0
        self._used = 0

    def wants(self, event):
        """Whether this rule would answer the event. It counts what it is asked: ask once about every event."""
        if not self._fits(event):
            return False
        self._fitting += 1
        return self._nth in (None, self._fitting) and (self._times is None or self._used < self._times)

    def use(self):
        """The steps, now that they are done once more."""
        self._used += 1
        return self._steps

    def _fits(self, event):
        return (
            (self._on == event.verb or (self._on == "*" and event.verb != "connect"))
            and self._connection in (None, event.connection)
            and self._argument.search(event.argument) is not None
            and (event.pipelined or not self._pipelined)
            and event.other_logins >= self._logins
        )


class Rules:
    """The rules in force, the first of them first."""

    def __init__(self, descriptions):
        self._rules = [Rule(description) for description in descriptions]

    def add(self, description):
        """A further rule, before the others."""
        self._rules.insert(0, Rule(description))

    def forget(self):
        self._rules.clear()

    def steps_for(self, event):
        """The steps of the first rule that wants the event, or None."""
        wanting = [rule for rule in self._rules if rule.wants(event)]
        return wanting[0].use() if wanting else None


class Event:
    """Something that a rule may answer: a new connection ("connect") or a command."""

    def __init__(self, verb, argument, connection, pipelined, other_logins):
        self.verb = verb
        self.argument = argument
        self.connection = connection
        self.pipelined = pipelined
        self.other_logins = other_logins
