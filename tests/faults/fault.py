"""How faults are listed."""

from collections import namedtuple

Fault = namedtuple("Fault", "name promise play")


def faults_of():
    """A list, and a decorator that adds a function to it: it gets a World and returns what happened."""
    faults = []

    def fault(name, promise):
        def add(play):
            faults.append(Fault(name, promise, play))
            return play
        return add
    return faults, fault
