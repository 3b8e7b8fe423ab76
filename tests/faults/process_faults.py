"""Clients that misbehave."""

import os
import re
import signal
import subprocess
import time

from fault import faults_of
from world import require, wait_until

FAULTS, fault = faults_of()


def options(*more):
    return ["talvek-import", "run", "--no-verify", "--quiet", "--repos-path", "/cvs", "--module-name", "mod", "--into", "target",
            "--cvs-path", "./cvs"] + list(more)


def refused(world, script, starts, words):
    if script is not None:
        world.client(script)
    result = world.run(options())
    require(result.status == 1, result.told())
    require(words in result.errors.decode(), result.told())
    require(world.starts() == starts, f"{world.starts()} starts instead of {starts}")
    world.require_nothing_left()
    return result.told()


@fault("cvs is missing", "status 1 and its name, before anything is made")
def _(world):
    return refused(world, None, 0, "./cvs' can't be found")


@fault("cvs isn't executable", "status 1 and the reason")
def _(world):
    world.write("cvs", "#!/bin/sh\n")
    return refused(world, None, 0, "Permission denied")


@fault("cvs can't be run (its interpreter is missing)", "status 1 and the reason")
def _(world):
    os.chmod(world.write("cvs", "#!/nowhere/sh\n"), 0o755)
    return refused(world, None, 0, "No such file or directory")


@fault("cvs is killed by a signal, each time", "as often as the repeat count says, then status 1")
def _(world):
    return refused(world, "kill -9 $$", 5, "gives no history")


@fault("cvs is killed by a signal, twice, then works", "the whole history")
def _(world):
    client = world.client(f"[ $(wc -l < '{world.path('starts')}') -le 2 ] && kill -9 $$\nexec cvs \"$@\"")
    result = world.run(world.import_options("--into", "target"), {"CVS_SESSION_CVS": client})
    commits = len(subprocess.run(["git", "-C", world.path("target"), "rev-list", "--all"], capture_output=True,
                                 check=True).stdout.split())
    require(result.status == 0 and commits > 10, f"{result.told()}, {commits} commits")
    return f"{commits} commits"


@fault("cvs writes 1 GB to standard error, in lines", "within 200 MB of memory")
def _(world):
    world.client("yes 'cvs rlog: something is wrong here, and here, and there' | head -c 1073741824 >&2; exit 1")
    result = world.run(options("--cmd-repeat-count", "1"), limit=300)
    require(result.status == 1 and "something is wrong here" in result.told(), result.told())
    require(result.megabytes < 200, f"{result.megabytes} MB")
    return f"{result.megabytes} MB"


@fault("cvs writes 1 GB to standard error, without a line end", "within 200 MB of memory")
def _(world):
    world.client("head -c 1073741824 /dev/zero | tr '\\0' x >&2; exit 1")
    result = world.run(options("--cmd-repeat-count", "1"), limit=300)
    require(result.status == 1, result.told())
    require(result.megabytes < 200, f"{result.megabytes} MB")
    return f"{result.megabytes} MB"


@fault("cvs never reads its input", "its input is empty: nothing waits")
def _(world):
    return refused(world, "cat; echo 'cvs rlog: no such module' >&2; exit 1", 5, "no such module")


def stopped(world, script, number, again=False, seconds=15, arguments=None):
    if script:
        world.client(script)
    process = world.start(arguments or options())
    wait_until(lambda: world.starts() > 0, "the start of cvs")
    wait_until(lambda: len(world.processes()) > 1, "the client")
    os.kill(process.pid, number)
    if again:
        time.sleep(0.3)  # two signals at the same moment would count as one
        os.kill(process.pid, number)
    result = world.end(process, limit=seconds)
    require(result.status == 128 + number, result.told())
    require(b"stopped; nothing was imported" in result.errors, result.told())
    world.require_nothing_left()
    require(not script or world.starts() == 1, f"{world.starts()} starts")
    return f"{result.told()}, after {result.seconds:.1f} s"


for NAME in ("SIGTERM", "SIGINT"):
    def silent(world, number=getattr(signal, NAME)):
        return stopped(world, "sleep 1000; sleep 1000", number)

    def deaf(world, number=getattr(signal, NAME)):
        return stopped(world, "trap '' TERM INT; while :; do sleep 1000; done", number)

    def deaf_twice(world, number=getattr(signal, NAME)):
        return stopped(world, "trap '' TERM INT; while :; do sleep 1000; done", number, True, 5)

    fault(f"cvs never ends, {NAME}", "ends with its children, not started again, nothing left")(silent)
    fault(f"cvs never ends and ignores signals, {NAME}", "killed after ten seconds, nothing left")(deaf)
    fault(f"cvs never ends and ignores signals, {NAME} twice", "killed at once, nothing left")(deaf_twice)

# For the bundled client: a server that appends its process id to the file "servers".
SERVER = "echo $$ >> servers\n%s\nexec cvs \"$@\""


def session(world, script):
    path = world.client(SERVER.replace("servers", "'" + world.path("servers") + "'") % script, "server")
    arguments = ["talvek-import", "run", "--no-verify", "--quiet", "--repos-path", ":fork:" + world.repository, "--module-name",
                 "calculator", "--nested-branches", "--into", "target"]
    return arguments, {"CVS_SERVER": path, "HOME": world.folder}


def servers(world):
    return [int(pid) for pid in world.read("servers").split()] if os.path.exists(world.path("servers")) else []


@fault("the server of the bundled client is killed in mid-import", "asked again: the whole history")
def _(world):
    whole = world.run(world.import_options("--into", "whole"))
    require(whole.status == 0, whole.told())
    arguments, environment = session(world, "")
    process = world.start(arguments, environment)
    # The first server is that of rlog, the second that of the session.
    wait_until(lambda: len(servers(world)) > 1, "the session's server")
    time.sleep(0.1)
    os.kill(servers(world)[1], signal.SIGKILL)
    result = world.end(process)
    require(len(servers(world)) > 2, "it wasn't started again")
    require(result.status == 0, result.told())
    require(world.references("target") == world.references("whole"), "another history")
    return f"{len(servers(world))} servers started, the same references"


@fault("the server of the bundled client always dies", "every file is a named loss, status 3")
def _(world):
    arguments, environment = session(world, f"[ $(wc -l < '{world.path('servers')}') -gt 1 ] && exit 1")
    environment["CVS_SESSION_CVS"] = world.client("case \"$*\" in *rlog*) exec cvs \"$@\";; esac\nexit 1", "client")
    result = world.run(arguments + ["--cmd-repeat-count", "1"], environment)
    losses = len(re.findall(rb"^talvek-import: lost: ", result.errors, re.M))
    require(result.status == 3 and losses > 10, result.told())
    return f"status 3, {losses} named losses"


for NAME in ("SIGTERM", "SIGINT"):
    def with_session(world, number=getattr(signal, NAME)):
        arguments, environment = session(world, "")
        process = world.start(arguments, environment)
        wait_until(lambda: len(servers(world)) > 1, "the session's server")
        os.kill(process.pid, number)
        result = world.end(process, limit=15)
        require(result.status == 128 + number, result.told())
        world.require_nothing_left()
        return result.told()

    fault(f"stopped while the bundled client has a session, {NAME}",
          "the session ends with its caller, nothing left")(with_session)
