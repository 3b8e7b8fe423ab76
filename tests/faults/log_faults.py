"""Broken and hostile logs, read by import-dump (cvs) and by the preview (cvsexact)."""

import json

from fault import faults_of
from world import DASHES, END, log_file, require

FAULTS, fault = faults_of()


def dump(world, log, limit=10, megabytes=None):
    """Reads a log. The end comes in time and within the memory given, with a result and without a signal."""
    world.write("log", log)
    if world.provider == "cvs":
        arguments = ["import-dump", "--set", "NestedBranches=1"]
    else:
        arguments = ["talvek-import", "preview", "--provider", world.provider, "--quiet", "--format", "jsonl"]
    for setting in ("LogFile=log", "ReposPath=/cvs", "ModuleName=mod"):
        arguments += ["--set", setting]
    result = world.run(arguments, limit=limit)
    require(result.status in (0, 1), result.told())
    require(not megabytes or result.megabytes < megabytes, f"{result.megabytes} MB were used")
    return result


def records(result, kind):
    return [json.loads(line)[kind] for line in result.output.splitlines() if line.startswith(b'{"%s"' % kind.encode())]


def count(world, log, **options):
    """Reads a log; returns the numbers of streams, changes and items, and a text with them."""
    result = dump(world, log, **options)
    require(result.status == 0, result.told())
    counts = tuple(len(records(result, kind)) for kind in ("stream", "change", "item"))
    return counts, f"{counts[0]} streams, {counts[1]} changes, {counts[2]} items; {result.megabytes} MB"


def expect(world, log, wanted, **options):
    counts, told = count(world, log, **options)
    require(counts == wanted, told + f" instead of {wanted}")
    return told


SMALL = log_file(names=[("B", "1.1.0.2")], revisions=[("1.2", "two\nlines"), ("1.1", "x"), ("1.1.2.1", "y")])


@fault("empty log", "ends, with nothing but the trunk")
def _(world):
    return expect(world, b"", (1, 0, 0))


@fault("log cut at every byte", "every part of it is read to its end, within a second each")
def _(world):
    slowest = max(dump(world, SMALL[:size], limit=1).seconds for size in range(len(SMALL)))
    return f"{len(SMALL)} logs, the slowest took {slowest:.2f} s"


@fault("NUL bytes", "are characters like others")
def _(world):
    log = log_file(revisions=[("1.2", b"\0"), ("1.1", b"a\0b")])
    expect(world, log, (1, 2, 2))
    comments = [change["comment"] for change in records(dump(world, log), "change")]
    require("a\0b" in comments, f"comments are {comments}")
    return "the message comes out with its NUL"


@fault("line of 64 MB in a message, in a name, in a path", "ends, within 1.5 GB (cvs), 2.5 GB (cvsexact)")
def _(world):
    limit = {"cvs": 1500, "cvsexact": 2500}[world.provider]
    long = b"x" * (64 << 20)
    peaks = [dump(world, log, limit=120, megabytes=limit).megabytes
             for log in (log_file(revisions=[("1.1", long)]), log_file(names=[(long, "1.1.0.2")]),
                         log_file(path=b"/cvs/mod/" + long + b",v"))]
    return "at most %d MB" % max(peaks)


@fault("a million symbolic names", "ends, within 3 GB; to cvsexact each is a tag")
def _(world):
    names = [(f"tag_{number}", "1.1") for number in range(1000000)]
    streams = {"cvs": 1, "cvsexact": 1000001}[world.provider]
    return expect(world, log_file(names=names), (streams, 1, 1), limit=120, megabytes=3000)


@fault("100,000 revisions in one file", "all are there")
def _(world):
    log = log_file(revisions=[(f"1.{number}", "x") for number in range(100000, 0, -1)])
    counts, told = count(world, log, limit=100)
    require(counts[2] == 100000, told)
    return told


@fault("numbers of 400 components", "are read or passed over; the rest is there")
def _(world):
    deep = ".".join(["1"] * 400)
    log = log_file(names=[("DEEP", deep)], revisions=[("1.1", "y"), (deep, "x")])
    log += log_file(path="/cvs/mod/b.c,v")
    counts, told = count(world, log)
    require(counts[2] >= 2, told)
    return told


@fault("components beyond 32 and 64 bits", "are read or passed over; the rest is there")
def _(world):
    log = log_file(names=[("BIG", "1.99999999999999999999.0.2")],
                   revisions=[("1.4294967297", "x"), ("1.99999999999999999999999", "y"), ("1.1", "z")])
    counts, told = count(world, log + log_file(path="/cvs/mod/b.c,v"))
    require(counts[2] >= 2, told)
    return told


@fault("dates of every shape and none", "no date ends the reading; the next file is there")
def _(world):
    dates = ["", ";", "never", "2003", "2003/13/45 99:99:99", "0000/00/00 00:00:00", "1969/12/31 23:59:59",
             "70/01/01 00:00:00", "2003-01-02 10:11:12 +0000", "2003-01-02 10:11:12 -1530",
             "99999999999999/01/01 00:00:00", "2106/02/07 06:28:16", "9999/12/31 23:59:59", "\xff\xff", "%s%n"]
    for date in dates:
        dumped = dump(world, log_file(date=date) + log_file(path="/cvs/mod/b.c,v"))
        paths = [item["path"] for item in records(dumped, "item")]
        require("b.c" in paths, f"date '{date}': {dumped.told()}")
    return f"{len(dates)} dates"


@fault("messages that look like the log", "are read as messages where the log allows to tell")
def _(world):
    message = "RCS file: /cvs/mod/evil.c,v\ndate: 1999/01/01 00:00:00;  author: eve;  state: Exp;\n" \
              "symbolic names:\n\tEVIL: 1.1.0.2\nlooks odd\n----------\nrevision 1.9 is wrong"
    log = log_file(revisions=[("1.1", message)]) + log_file(path="/cvs/mod/b.c,v")
    dumped = dump(world, log)
    paths = [item["path"] for item in records(dumped, "item")]
    require(dumped.status == 0 and paths.count("b.c") == 1 and "a.c" in paths, f"{dumped.told()} {paths}")
    require("EVIL" not in [stream["name"] for stream in records(dumped, "stream")], "a stream comes from a message")
    return f"items: {', '.join(paths)}"


@fault("separators of revisions and files within a message", "end the message (cvs) or are text of it (cvsexact); the next file is there")
def _(world):
    for separator in (DASHES, END, DASHES + b"revision 1.9\n", END + b"\nRCS file: nothing\n"):
        log = log_file(revisions=[("1.1", b"text\n" + separator + b"more")]) + log_file(path="/cvs/mod/b.c,v")
        paths = [item["path"] for item in records(dump(world, log), "item")]
        require("a.c" in paths and "b.c" in paths, f"{separator!r}: items {paths}")
    return "4 messages"


@fault("line ends \\r\\n and lone \\r", "the log gives what it gives with \\n")
def _(world):
    plain = dump(world, SMALL).output
    for end in (b"\r\n", b"\r"):
        require(dump(world, SMALL.replace(b"\n", end)).output == plain, f"another history with {end!r}")
    return "three times the same history"


@fault("UTF-8, Latin-1, EUC-JP, all in one line, a byte-order mark", "no byte is lost, nothing ends the reading")
def _(world):
    texts = ["gr\u00fcn".encode(), b"gr\xfcn", "\u65e5\u672c".encode("euc_jp")]
    log = b"\xef\xbb\xbf" + b"".join(log_file(path=b"/cvs/mod/" + text + b",v", revisions=[("1.1", b" ".join(texts))])
                                     for text in texts)
    dumped = dump(world, log)
    items = records(dumped, "item")
    require(dumped.status == 0 and len(items) == 3, f"{dumped.told()}, {len(items)} items")
    require(len({item["path"] for item in items}) == 3, "two names became one")
    return "3 files with 3 names"


@fault("20,000 streams", "all are there")
def _(world):
    names = [(f"b{number}", f"1.1.0.{2 * number}") for number in range(1, 20000)]
    return expect(world, log_file(names=names), (20000, 1, 1), limit=60)


@fault("parents in circles of 1, 2 and 3", "the search ends and every stream is there")
def _(world):
    log = log_file(names=[("A", "1.1.0.2"), ("A", "1.1.2.1.0.2")])
    for first, second in (("B", "C"), ("C", "B"), ("D", "E"), ("E", "F"), ("F", "D")):
        log += log_file(path=f"/cvs/mod/{first}{second},v", names=[(first, "1.1.0.2"), (second, "1.1.2.1.0.2")],
                        revisions=[("1.1.2.1.2.1", "z"), ("1.1.2.1", "y"), ("1.1", "x")])
    counts, told = count(world, log)
    require(counts[0] == 7, told)
    return told
