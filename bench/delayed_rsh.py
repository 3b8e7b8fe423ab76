#!/usr/bin/env python3
"""A stand-in for ssh: runs the server on this machine, over a simulated slow connection.

usage: CVS_RSH=bench/delayed_rsh.py DELAY_MS=20 cvs -d :ext:host:/root ...
DELAY_MS is the round trip: half of it is added on the way to the server, half on the way back. Only latency is
simulated; the bandwidth is unlimited.
"""
import os
import queue
import subprocess
import sys
import threading
import time


def command(words):
    """The remote command: the words after the options and the host."""
    while words and words[0].startswith("-"):
        words = words[1:] if words[0] == "--" else words[2:]
    return words[1:]


def pump(source, sink, delay):
    """Copies one descriptor to another, each piece `delay` seconds late."""
    line = queue.Queue()

    def deliver():
        while True:
            due, piece = line.get()
            time.sleep(max(0.0, due - time.monotonic()))
            if not piece:
                break
            try:
                while piece:
                    piece = piece[os.write(sink, piece):]
            except BrokenPipeError:
                break
        os.close(sink)

    threading.Thread(target=deliver, daemon=sink == 1).start()
    while True:
        piece = os.read(source, 65536)
        line.put((time.monotonic() + delay, piece))
        if not piece:
            return


def main():
    delay = float(os.environ.get("DELAY_MS", "0")) / 2000
    server = subprocess.Popen(["sh", "-c", " ".join(command(sys.argv[1:]))], stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE, bufsize=0)
    threading.Thread(target=pump, args=(0, os.dup(server.stdin.fileno()), delay), daemon=True).start()
    server.stdin.close()
    pump(server.stdout.fileno(), 1, delay)
    status = server.wait()
    time.sleep(delay * 2)
    os._exit(status)


if __name__ == "__main__":
    main()
