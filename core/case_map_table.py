#!/usr/bin/env python3
"""Prints core/case_map_table.inc: the lower-case mapping of the C library's C.UTF-8 locale as ranges.

Refresh (the mapping decides which names count as equal, so do it only on purpose, on Debian 12):
    python3 core/case_map_table.py > core/case_map_table.inc
"""

import ctypes
import locale

END_OF_UNICODE = 0x110000


def mapped_characters():
    locale.setlocale(locale.LC_CTYPE, "C.UTF-8")
    libc = ctypes.CDLL(None)
    libc.towlower.argtypes = [ctypes.c_uint]
    libc.towlower.restype = ctypes.c_uint
    for code in range(0x80, END_OF_UNICODE):
        delta = libc.towlower(code) - code
        if delta:
            yield code, delta


def ranges():
    """Runs of characters with the same delta, one (step 1) or two (step 2) apart."""
    run = None
    for code, delta in mapped_characters():
        if run:
            first, last, step, run_delta = run
            gap = code - last
            if delta == run_delta and (gap == step or (first == last and gap <= 2)):
                run = (first, code, gap, delta)
                continue
            yield run
        run = (code, code, 1, delta)
    if run:
        yield run


def main():
    print("// Made by core/case_map_table.py; see there how to refresh it.")
    print("// {first, last, step, what to add}")
    for first, last, step, delta in ranges():
        print(f"{{0x{first:04X}, 0x{last:04X}, {step}, {delta}}},")


if __name__ == "__main__":
    main()
