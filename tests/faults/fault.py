"""The type Fault, and the decorator by which a module lists its faults."""

from collections import namedtuple

Fault = namedtuple("Fault", "name promise play")


def faults_of():
    """Returns a list and a decorator. @fault(name, promise) adds a function to the list. The function gets a World,
    plays the fault, and returns what happened as text; it raises Broken when the promise isn't kept."""
    faults = []

    def fault(name, promise):
        def add(play):
            faults.append(Fault(name, promise, play))
            return play
        return add
    return faults, fault
