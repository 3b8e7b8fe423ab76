"""Disks that are full, read-only or not there, things planted in /tmp, and sudden ends."""

import os
import random
import subprocess
import time

from fault import faults_of
from world import limit_files, log_file, require, wait_until

FAULTS, fault = faults_of()

SIZES = ["8k", "16k", "32k", "64k", "128k", "192k", "256k", "384k", "512k", "768k", "1m", "1536k", "2m", "3m", "4m"]


def whole(world):
    result = world.run(world.import_options("--into", "whole"))
    require(result.status == 0, result.told())
    return world.references("whole")


def sweep(world, arguments, mount, environment=None, whole_at_last=True):
    """One import for each size of a file system: either all of it, or status 1, a reason and nothing left."""
    wanted = whole(world)
    reasons = {}
    for size in SIZES:
        result = world.in_mounts([(folder, "size=" + size) for folder in mount], arguments, environment)
        if result.status == 0:
            require(world.references("target") == wanted, f"{size}: another history")
        else:
            require(result.status == 1 and result.errors.startswith(b"talvek-import: "), f"{size}: {result.told()}")
            require(b"\n" not in result.errors.strip() or b"lost" not in result.errors, f"{size}: {result.told()}")
            require(not os.path.lexists(world.path("target")), f"{size}: the target is left")
        left = [name for name in world.read("left").decode().split() if not name.startswith(("Talvek", "/"))]
        require(not left, f"{size}: left {left}")
        reasons.setdefault(result.told().split(";")[0] if result.status else "whole", []).append(size)
        subprocess.run(["rm", "-rf", world.path("target")], check=True)
    require(("whole" in reasons) or not whole_at_last, f"never the whole history: {reasons}")
    return "; ".join(f"{reason} ({', '.join(sizes)})" for reason, sizes in reasons.items())


@fault("temporary folder full (TMPDIR), every size from 8 KB to 4 MB",
       "the whole history, or status 1 with the reason and nothing left")
def _(world):
    return sweep(world, world.import_options("--into", "target"), [world.path("tmp")])


@fault("disk of the import database full (/tmp), every size",
       "the whole history, or status 1 with the reason and nothing left")
def _(world):
    return sweep(world, world.import_options("--into", "target"), ["/tmp"])


@fault("both on one full disk, every size", "the whole history, or status 1 with the reason and nothing left")
def _(world):
    return sweep(world, world.import_options("--into", "target"), ["/tmp"], {"TMPDIR": "/tmp"})


@fault("work folder full, every size", "the whole history, or status 1 with the reason and no file cut short")
def _(world):
    os.mkdir(world.path("work"))
    arguments = world.import_options("--into", "target", "--work", "work")
    wanted = whole(world)
    reasons = {}
    for size in SIZES:
        result = world.in_mounts([(world.path("work"), "size=" + size)], arguments)
        require(result.status in (0, 1), f"{size}: {result.told()}")
        if result.status == 0:
            require(world.references("target") == wanted, f"{size}: another history")
        reasons.setdefault("whole" if result.status == 0 else result.told().split(";")[0], []).append(size)
        subprocess.run(["rm", "-rf", world.path("target")], check=True)
    require("whole" in reasons, f"never the whole history: {reasons}")
    return "; ".join(f"{reason} ({', '.join(sizes)})" for reason, sizes in reasons.items())


def large_file(world, count):
    """A module of files of 60 KB, committed by the real client."""
    script = f"""set -e; cvs -d $PWD/cvs init; mkdir cvs/big; cvs -Q -d $PWD/cvs checkout big; cd big
    i=0; while [ $i -lt {count} ]; do head -c 45000 /dev/urandom | base64 > f$i; i=$((i + 1)); done
    cvs -Q add f*; cvs -Q commit -m x"""
    subprocess.run(["sh", "-c", script], cwd=world.folder, check=True, capture_output=True)
    return ["talvek-import", "run", "--no-verify", "--quiet", "--repos-path", world.path("cvs"), "--module-name", "big", "--into",
            "target", "--work", "work", "--cvs-path", "cvs", "--no-force-file-by-file"]


def plain_client(world, count, sizes):
    arguments = large_file(world, count)
    os.mkdir(world.path("work"))
    statuses = []
    for size in sizes:
        result = world.in_mounts([(world.path("work"), "size=" + size)], arguments)
        require(result.status in (0, 1), f"{size}: {result.told()}")
        statuses.append(f"{size}: status {result.status}")
        if result.status == 0:
            checked = subprocess.run(["sh", "-c", "for f in target/f*; do cmp $f big/${f#target/} || exit 1; done"],
                                     cwd=world.folder, capture_output=True, check=False)
            require(checked.returncode == 0, f"{size}: a file was cut short: {checked.stdout}")
        subprocess.run(["rm", "-rf", world.path("target")], check=True)
    require(statuses[-1].endswith("0") and statuses[0].endswith("1"), ", ".join(statuses))
    return ", ".join(statuses)


@fault("work folder full under the plain cvs, file by file", "status 1: half a file never passes for the whole one")
def _(world):
    return plain_client(world, 2, ["16k", "48k", "72k", "4m"])


@fault("work folder full under the plain cvs, whole checkouts", "status 1: half a file never passes for the whole one")
def _(world):
    return plain_client(world, 31, ["64k", "512k", "1900k", "8m"])


@fault("output of rlog has no room, the client doesn't notice", "status 1, never a shorter history")
def _(world):
    log = log_file() + b"".join(log_file(path=f"/cvs/mod/f{number},v") for number in range(1000))
    world.write("log", log)
    world.client(f"case \"$*\" in *rlog*) cat '{world.path('log')}' 2>/dev/null;; esac; exit 0")
    arguments = ["talvek-import", "run", "--no-verify", "--quiet", "--repos-path", "/cvs", "--module-name", "mod", "--cvs-path",
                 "./cvs", "--into", "target"]
    result = world.in_mounts([(world.path("tmp"), "size=64k")], arguments)
    require(result.status == 1 and b"no room" in result.errors, result.told())
    return result.told()


@fault("no file may grow beyond a size (ulimit -f), every size", "the whole history, or status 1 with the reason")
def _(world):
    wanted = whole(world)
    reasons = {}
    for size in (1, 2, 4, 8, 16, 32, 64, 128, 256, 1024, 4096):
        result = world.run(world.import_options("--into", "target"), before=limit_files(size * 1024))
        require(result.status in (0, 1), f"{size} KB: {result.told()}")
        if result.status == 0:
            require(world.references("target") == wanted, f"{size} KB: another history")
        reasons.setdefault("whole" if result.status == 0 else result.told().split(";")[0], []).append(f"{size}k")
        subprocess.run(["rm", "-rf", world.path("target")], check=True)
    return "; ".join(f"{reason} ({', '.join(sizes)})" for reason, sizes in reasons.items())


@fault("no room for the import log", "the history is whole, and it is said that the log isn't")
def _(world):
    result = world.run(world.import_options("--into", "target", "--import-log", "/dev/full"))
    require(result.status == 0 and b"can't write the import log" in result.errors, result.told())
    return "status 0: can't write the import log to '/dev/full'"


@fault("TMPDIR is read-only", "status 1 and a remedy, or the whole history by another folder")
def _(world):
    result = world.in_mounts([(world.path("tmp"), "ro")], world.import_options("--into", "target"))
    require(result.status == 1 and b"TMPDIR" in result.errors, result.told())
    world.require_nothing_left()
    return result.told()


@fault("/tmp is read-only", "status 1 and the path of the database")
def _(world):
    result = world.in_mounts([("/tmp", "ro")], world.import_options("--into", "target"))
    require(result.status == 1 and b"/tmp/talvek-em-" in result.errors, result.told())
    world.require_nothing_left()
    return result.told()


@fault("TMPDIR isn't there", "the whole history, with /tmp in its place")
def _(world):
    wanted = whole(world)
    result = world.run(world.import_options("--into", "target"), {"TMPDIR": "/nowhere/at/all"})
    require(result.status == 0 and world.references("target") == wanted, result.told())
    return result.told()


def planted(world, plant, *, refused=True):
    """Imports after `plant`, a shell command, has put something at the database path ($path). Then the import must
    be refused, if `refused`, and what was planted must be unchanged."""
    world.write("victim", "mine")
    program = os.path.join(world.programs, "talvek-import")
    script = 'path=/tmp/talvek-em-$$; ' + plant + '; exec "$0" "$@"'
    result = world.run(["/bin/sh", "-c", script, program] + world.import_options("--into", "target")[1:])
    require(world.read("victim") == b"mine", "the file at the other end was changed")
    path = f"/tmp/talvek-em-{world.pids[-1]}"
    if refused:
        require(result.status == 1 and path.encode() in result.errors, result.told())
        if os.path.exists(path + ".own"):
            require(open(path + ".own").read() == "mine\n", "the file of that name was changed")
        require(not os.path.lexists(world.path("target")), "the target is left")
    subprocess.run(["rm", "-rf", path + ".tdf", path + ".tlf", path + ".own"], check=True)
    return result


@fault("symbolic link at the database path", "status 1, its other end untouched")
def _(world):
    return planted(world, 'ln -s "$PWD/victim" $path.tdf').told()


@fault("symbolic link at the path of the database's lock", "status 1, its other end untouched")
def _(world):
    return planted(world, 'ln -s "$PWD/victim" $path.tlf').told()


@fault("second name of a foreign file at the database path", "status 1, the file untouched")
def _(world):
    return planted(world, 'echo mine > $path.own; ln $path.own $path.tdf').told()


@fault("folder at the database path", "status 1, the folder untouched")
def _(world):
    return planted(world, "mkdir $path.tdf").told()


@fault("pipe at the database path", "status 1, at once")
def _(world):
    return planted(world, "mkfifo $path.tdf").told()


@fault("another user's file at the database path", "status 1, not written to")
def _(world):
    if os.geteuid() != 0:
        return planted(world, "mkdir $path.tdf").told()  # only root can make one
    return planted(world, "echo theirs > $path.tdf; chown nobody $path.tdf").told()


@fault("database of a dead process with the same number", "taken over: the whole history")
def _(world):
    wanted = whole(world)
    result = planted(world, "head -c 100000 /dev/urandom > $path.tdf; echo 1 > $path.tlf", refused=False)
    require(result.status == 0 and world.references("target") == wanted, result.told())
    return result.told()


@fault("kill -9 at 50 random moments, then a run into the same target", "the second run imports the whole history")
def _(world):
    wanted = whole(world)
    began = time.monotonic()
    world.run(world.import_options("--into", "target"))
    seconds = time.monotonic() - began
    subprocess.run(["rm", "-rf", world.path("target")], check=True)
    dice = random.Random(20250101)
    ends = {"target without history": 0, "whole history": 0}
    for number in range(50):
        process = world.start(world.import_options("--into", "target"))
        time.sleep(dice.uniform(0, seconds * 1.1))
        process.kill()
        process.wait()
        wait_until(lambda: not world.processes(), "the end of the children", 10)
        result = world.run(world.import_options("--into", "target"))
        if result.status == 2:  # refused: the first run had finished, except for the files of the work tree
            ends["whole history"] += 1
        else:
            require(result.status == 0, f"kill {number}: {result.told()}")
            ends["target without history"] += 1
        require(world.references("target") == wanted, f"kill {number}: another history")
        subprocess.run(["rm", "-rf", world.path("target")], check=True)
        for pid in world.pids:
            subprocess.run(f"rm -f /tmp/talvek-em-{pid}.t?f", shell=True, check=True)
    return ", ".join(f"{what}: {number}" for what, number in ends.items())
