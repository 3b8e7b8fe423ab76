"""The type Fault, and the decorator by which a module lists its faults."""

from collections import namedtuple

PROVIDERS = ("cvs", "cvsexact")

Fault = namedtuple("Fault", "name promise providers play")


def faults_of():
    """Returns a list and a decorator. @fault(name, promise) adds a function to the list. The function gets a World,
    plays the fault, and returns what happened as text; it raises Broken when the promise isn't kept.
    A fault is played for each of its providers."""
    faults = []

    def fault(name, promise, providers=PROVIDERS):
        def add(play):
            faults.append(Fault(name, promise, providers, play))
            return play
        return add
    return faults, fault
