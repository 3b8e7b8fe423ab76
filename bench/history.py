#!/usr/bin/env python3
"""Measures how fast `talvek-import preview --quiet` reads histories, through both providers, beside `cvsps --test-log`
and `wc -l`.

Prints a Markdown table with a line for each history. Each is measured several times, and the line has the medians.
Times are processor times (user and system), because the machine may have other work; elapsed time stands beside them.
The peak memory is that of the whole process; the disk figure is the largest size of the import database and of files
without a name.

Within a group of histories only one property grows, mostly 16 times. The last column shows, for each provider, how the
processor time per revision grows with it; in the group "names", the time per name of a file.
"""
import argparse
import os
import platform
import stat
import statistics
import subprocess
import sys
import tempfile
import threading
import time

# Figures of three real, saved logs (means; a commit is all files of one author and message within ten minutes):
#
#                          "real log"   contrib of MirBSD   www of MirBSD
#   files                     24,066              850               407
#   revisions of a file          2.8              8.3              14.2   (on branches: 1.0, 0.8, 0.2)
#   names of a file              2.3              8.3               0.1   (of these branches: 1.0, 0.7, 0)
#   files of a commit            156              2.4               1.7   (without commits of 1000 files or more: 22)
#   items in larger ones         86 %               0                 0   (11 commits, of up to 11,694 files)
#   characters of a message       60              101                63
#   authors                        2                5                 6
#
# The group "like the real log" has the first column's figures. "size" is like a large, old history: as many revisions
# of a file as the other two logs have, and more names.
LIKE_REAL = (" --revisions 2 --names 1 --branches 1 --imports 4 --imported-percent 79 --commit-size 22"
             " --message-length 60 --authors 2")

BUSY = " --revisions 28 --names 0 --branches 0 --imports 0 --authors 2 --messages 3 --span 3000"

# {group: {name of the history: options of make-history}}. Each history is compared with its group's first.
GROUPS = {
    "like the real log": {
        "24 k files": "--files 24066" + LIKE_REAL, "385 k files": "--files 385056" + LIKE_REAL},
    "size": {
        "0.1 M revisions": "--files 8334", "0.4 M revisions": "--files 33334",
        "1.6 M revisions": "--files 133334", "6.4 M revisions": "--files 533334"},
    "revisions of a file": {
        "10 each": "--files 2000 --branches 0", "160 each": "--files 2000 --revisions 160 --branches 0"},
    "names": {
        "50 names": "--files 2000 --names 50 --branches 0", "800 names": "--files 2000 --names 800 --branches 0"},
    "streams": {
        "10 branches": "--files 2000 --branches 10 --names 0",
        "160 branches": "--files 2000 --branches 160 --branches-of-file 10 --names 0"},
    "branches of a file": {
        "10 each": "--files 2000 --branches 10 --names 0",
        "160 each": "--files 2000 --branches 160 --names 0"},
    "one changeset": {
        "of 2000 files": "--files 2000 --revisions 1 --branches 0 --imports 1",
        "of 32000 files": "--files 32000 --revisions 1 --branches 0 --imports 1"},
    # Two authors, three messages, 50 minutes: each revision could join many of the changes.
    "one busy hour": {
        "1850 files": "--files 1850" + BUSY, "30000 files": "--files 30000" + BUSY},
    "many names on many files": {
        "1500 names": "--files 20000 --names 1500 --branches 0 --revisions 4"},
}

# Measured for cvsexact, too. The other groups show single parts of cvs.
FOR_BOTH = ("like the real log", "size", "names", "many names on many files")

# By default cvs leaves tags out, and cvsexact imports them.
WITH_TAGS = ("names", "streams", "branches of a file", "many names on many files")


def disk_bytes(pid):
    """The size on disk of a process's import database and of its files without a name."""
    total = 0
    try:
        total += os.stat("/tmp/talvek-em-%d.tdf" % pid).st_blocks * 512
    except FileNotFoundError:
        pass
    try:
        for descriptor in os.listdir("/proc/%d/fd" % pid):
            file = os.stat("/proc/%d/fd/%s" % (pid, descriptor))
            if stat.S_ISREG(file.st_mode) and file.st_nlink == 0:
                total += file.st_blocks * 512
    except OSError:  # the process has ended, or closed the file
        pass
    return total


def measure(command, stdout=subprocess.DEVNULL):
    """Returns a command's processor seconds, peak memory and largest size on disk in bytes, and elapsed seconds."""
    start = time.monotonic()
    process = subprocess.Popen(command, stdout=stdout, stderr=subprocess.DEVNULL)
    disk, done = [0], threading.Event()

    def watch():
        while not done.wait(0.02):
            disk[0] = max(disk[0], disk_bytes(process.pid))

    watcher = threading.Thread(target=watch)
    watcher.start()
    _, status, usage = os.wait4(process.pid, 0)
    done.set()
    watcher.join()
    if status != 0:
        sys.exit("history.py: %s ended with status %d" % (command[0], status))
    return usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024, disk[0], time.monotonic() - start


def count_lines(log, start):
    with open(log, "rb") as lines:
        return sum(1 for line in lines if line.startswith(start))


class History:
    """A log, and its measurements of each round."""

    def __init__(self, name, provider, log, root, module, options, with_cvsps):
        self.name, self.provider, self.log, self.root, self.module = name, provider, log, root, module
        self.options, self.with_cvsps = options, with_cvsps
        self.bytes = os.path.getsize(log)
        self.revisions, self.names = count_lines(log, b"date: "), count_lines(log, b"\t")
        # One entry per round (runs: several): our runs, our seconds, those of wc, those of cvsps.
        self.runs, self.seconds, self.counts, self.theirs = [], [], [], []

    def measure_round(self, args):
        with tempfile.TemporaryDirectory() as folder:
            ours = [args.bin + "/talvek-import", "preview", "--quiet", "--provider", self.provider, "--log-file", self.log, "--repos-path", self.root,
                    "--module-name", self.module, "--import-log", folder + "/import.log"] + self.options
            runs = [measure(ours)]
            while len(runs) < 5 and sum(run[0] for run in runs) < 1:  # a single short run is too inexact
                runs.append(measure(ours))
        self.runs += runs
        self.seconds.append(statistics.median(run[0] for run in runs))
        self.counts.append(max(measure(["wc", "-l", self.log])[0], 0.001))
        if self.with_cvsps:
            theirs = ["cvsps", "--root", self.root, self.module, "--test-log", self.log, "-x", "-u"]
            self.theirs.append(measure(theirs)[0])


def ratio(above, below):
    """The median of the rounds' ratios: the machine may be slower in one round than in another."""
    return statistics.median(a / b for a, b in zip(above, below))


def print_line(history, growth):
    seconds, mb = statistics.median(history.seconds), history.bytes / 1e6
    print("| %s | %s | %.1f | %.0f | %.2f | %.2f | %.1f | %.0f | %.0f | %.2f | %s | %.0f | %s |" % (
        history.name, history.provider, mb, history.revisions / 1e3, seconds, statistics.median(run[3] for run in history.runs),
        mb / seconds, history.revisions / seconds / 1e3, max(run[1] for run in history.runs) / 1e6,
        max(run[2] for run in history.runs) / history.bytes,
        "%.1f" % ratio(history.theirs, history.seconds) if history.theirs else "-",
        ratio(history.seconds, history.counts), growth), flush=True)


def print_group(args, histories, per_name):
    """Measures the members of a group in turn, round by round, and prints a line for each."""
    for _ in range(args.runs):
        for history in histories:
            history.measure_round(args)
    each = [[seconds / (history.names if per_name else history.revisions) for seconds in history.seconds]
            for history in histories]
    for history, own in zip(histories, each):
        first = next(n for n, other in enumerate(histories) if other.provider == history.provider)
        print_line(history, "%.2f" % ratio(own, each[first]))


HEADING = """# How fast histories are read

`talvek-import preview --quiet` on saved logs with the import log on, beside `cvsps --test-log -x -u` and `wc -l` on the
same log in the same run. Printed by `make bench-history`. Except for the real log, `make-history` makes the histories
up, with the options in `bench/history.py`.

- s is processor time; MB/s and the ratios are calculated from it. "s passed" is elapsed time.
- A group is measured in rounds, each with all its histories. A ratio is the median of the rounds' ratios, because the
  machine may be slower in one round than in another.
- peak MB: the largest resident memory of the whole process. disk / log: the size of the import database and of files
  without a name, divided by the log's.
- growth: time per revision, divided by that of the provider's first line in the group; in the group "names", time per
  name of a file.
- "like the real log" has the real log's numbers of revisions, names, authors and files in a commit, and its length of
  messages. `bench/history.py` has the figures of three real logs.
"""


def describe_machine():
    with open("/proc/cpuinfo") as lines:
        cpu = next((line.split(":")[1].strip() for line in lines if line.startswith("model name")), "?")
    memory = os.sysconf("SC_PHYS_PAGES") * os.sysconf("SC_PAGE_SIZE") / 2**30
    folder = subprocess.run(["stat", "-f", "-c", "%T", tempfile.gettempdir()], stdout=subprocess.PIPE, text=True)
    print("%d x %s, %.0f GiB, Linux %s, %s on %s; load %.1f when begun\n" % (
        os.cpu_count(), cpu, memory, platform.release(), tempfile.gettempdir(), folder.stdout.strip(),
        os.getloadavg()[0]))


def make_histories(args, folder, group, name, shape):
    """One for each provider that the group is for; they share a log."""
    log = "%s/%d.rlog" % (folder, len(os.listdir(folder)))
    with open(log, "wb") as text:
        subprocess.run([args.bin + "/make-history"] + shape.split(), stdout=text, check=True)
    options = ["--streams-for-tags"] if group in WITH_TAGS else []
    with_cvsps = group in ("like the real log", "size") and files_of(shape) <= args.cvsps_max_files
    histories = [History(group + ": " + name, "cvs", log, "/cvs", "bench", options, with_cvsps)]
    if group in FOR_BOTH:
        histories.append(History(group + ": " + name, "cvsexact", log, "/cvs", "bench", [], False))
    return histories


def files_of(shape):
    return int(shape.split("--files ")[1].split()[0])


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--bin", required=True, help="the folder with talvek-import and make-history")
    parser.add_argument("--log", help="a saved log of a real repository, measured first")
    parser.add_argument("--log-root", default="/cvs", help="the repository in that log")
    parser.add_argument("--log-module", default="src", help="the module in that log")
    parser.add_argument("--runs", type=int, default=3, help="how many rounds (%(default)s)")
    parser.add_argument("--max-files", type=int, default=400000, help="skip histories with more files (%(default)s)")
    parser.add_argument("--cvsps-max-files", type=int, default=140000,
                        help="don't run cvsps on histories with more files (%(default)s)")
    parser.add_argument("--group", action="append", choices=GROUPS, help="measure only this group; may be repeated")
    args = parser.parse_args()

    print(HEADING)
    describe_machine()
    print("| history | provider | MB | k revisions | s | s passed | MB/s | k revisions/s | peak MB | disk / log | cvsps / ours "
          "| ours / wc | growth |")
    print("|---|---|---|---|---|---|---|---|---|---|---|---|---|", flush=True)
    if args.log and not args.group:
        real = ["real log", args.log, args.log_root, args.log_module, []]
        print_group(args, [History(real[0], "cvs", *real[1:], True), History(real[0], "cvsexact", *real[1:], False)],
                    False)
    for group in args.group or GROUPS:
        with tempfile.TemporaryDirectory() as folder:
            histories = [history for name, shape in GROUPS[group].items() if files_of(shape) <= args.max_files
                         for history in make_histories(args, folder, group, name, shape)]
            print_group(args, histories, group == "names")


if __name__ == "__main__":
    main()
