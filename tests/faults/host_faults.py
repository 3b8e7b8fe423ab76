"""Faults of Git and of the target during an import."""

import os
import shutil
import signal
import subprocess

from fault import faults_of
from storage_faults import whole
from world import require, wait_until

FAULTS, fault = faults_of()


def held(world):
    """Options of an import whose client, at its first checkout, makes the file "held" and waits for the file "go"."""
    client = world.client("case \"$*\" in *rlog* | *\"checkout -c\"*) exec cvs \"$@\";; esac\n"
                          f": > '{world.path('held')}'; while [ ! -e '{world.path('go')}' ]; do sleep 0.02; done\n"
                          f"exec '{os.path.join(world.programs, 'cvs-session')}' \"$@\"")
    return world.import_options("--into", "target", "--cvs-path", client)


def children(world, name):
    found = []
    for pid in world.processes():
        try:
            with open(f"/proc/{pid}/cmdline", encoding="utf-8") as file:
                if name in file.read():
                    found.append(pid)
        except OSError:
            pass
    return found


def in_the_middle(world, act, prepare=lambda: None):
    prepare()
    process = world.start(held(world))
    wait_until(lambda: os.path.exists(world.path("held")), "the first checkout")
    act()
    world.write("go", "")
    result = world.end(process)
    require(result.status == 1 and result.errors.startswith(b"talvek-import: "), result.told())
    return result


@fault("git fast-import is killed", "status 1, the reason, the target removed")
def _(world):
    def act():
        for pid in children(world, "fast-import"):
            os.kill(pid, signal.SIGKILL)
    result = in_the_middle(world, act)
    require(b"git fast-import failed" in result.errors, result.told())
    world.require_nothing_left()
    return result.told()


@fault("git fast-import is killed, in a repository that was there", "status 1, the reason, the repository as it was")
def _(world):
    def prepare():
        subprocess.run(["git", "init", "-q", "-b", "mine", world.path("target")], check=True)

    def act():
        for pid in children(world, "fast-import"):
            os.kill(pid, signal.SIGKILL)
    result = in_the_middle(world, act, prepare)
    with open(world.path("target/.git/HEAD"), encoding="utf-8") as file:
        require(file.read() == "ref: refs/heads/mine\n", "another HEAD")
    require(world.references("target") == b"", "references are left")
    require(os.listdir(world.path("target")) == [".git"], "files are left")
    return result.told()


@fault("the repository goes away", "status 1, the reason, nothing left")
def _(world):
    result = in_the_middle(world, lambda: shutil.rmtree(world.path("target")))
    world.require_nothing_left()
    return result.told()


@fault("the repository's objects go away", "status 1, the reason, the target removed")
def _(world):
    result = in_the_middle(world, lambda: shutil.rmtree(world.path("target/.git/objects")))
    world.require_nothing_left()
    return result.told()


@fault("full disk under the repository, every size", "the whole history, or status 1, the reason and nothing left")
def _(world):
    wanted = whole(world)
    os.mkdir(world.path("disk"))
    reasons = {}
    for size in ["16k", "64k", "128k", "160k", "192k", "224k", "256k", "288k", "320k", "384k", "512k", "1m", "4m"]:
        # What is left must be listed before the file system is unmounted.
        script = os.path.join(world.programs, "talvek-import")
        world.write("look", f"#!/bin/sh\n'{script}' \"$@\"; status=$?\n"
                            f"git -C disk/target for-each-ref > references 2>&1; ls -A disk > remains; exit $status\n")
        os.chmod(world.path("look"), 0o755)
        result = world.in_mounts([(world.path("disk"), "size=" + size)],
                                 [world.path("look")] + world.import_options("--into", "disk/target")[1:])
        if result.status == 0:
            require(world.read("references") == wanted, f"{size}: another history")
        else:
            require(result.status == 1 and result.errors.startswith(b"talvek-import: "), f"{size}: {result.told()}")
            require(world.read("remains") == b"", f"{size}: left {world.read('remains')}")
        unchecked = b"can't be checked out" in result.errors
        done = "whole, but not checked out" if unchecked else "whole"
        reasons.setdefault(result.told().split(";")[0] if result.status else done, []).append(size)
    require("whole" in reasons, f"never whole: {reasons}")
    return "; ".join(f"{reason} ({', '.join(sizes)})" for reason, sizes in reasons.items())


@fault("the target is read-only", "status 1, the reason")
def _(world):
    os.mkdir(world.path("disk"))
    result = world.in_mounts([(world.path("disk"), "ro")], world.import_options("--into", "disk/target"))
    require(result.status == 1 and b"disk/target" in result.errors, result.told())
    return result.told()


@fault("git is missing", "status 1 and a remedy, before anything is made")
def _(world):
    result = world.run(world.import_options("--into", "target"), {"PATH": "/nowhere"})
    require(result.status == 1 and b"install git" in result.errors, result.told())
    world.require_nothing_left()
    return result.told()
