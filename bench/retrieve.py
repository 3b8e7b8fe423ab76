#!/usr/bin/env python3
"""Measures how fast file revisions are fetched from a CVS repository, one after the other.

Takes the first files of a module, in the order of their paths, up to N revisions, and measures
  server    one connection to a `cvs server`, one request after the other. The yardstick: no program that
            asks for one revision at a time can be faster
  session   one cvs-session command for each revision
  import    talvek-import run, if it is in the folder of --bin
  cvsimport git cvsimport, if it is installed
for each latency (0: a local root; others with bench/delayed_rsh.py in place of ssh).
"""
import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
PROJECT = os.path.dirname(HERE)
RESPONSES = ("ok error Valid-requests Checked-in New-entry Updated Created Update-existing Merged Mode Mod-time Removed "
             "Remove-entry Set-static-directory Clear-static-directory Set-sticky Clear-sticky Template M E F")


def quiet(words, **options):
    return subprocess.run(words, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, **options)


def find_root(scratch):
    archive = os.path.join(PROJECT, "..", "shared", "cvsroots", "mirbsd.tar.xz")
    if os.path.exists(archive):
        subprocess.run(["tar", "-C", scratch, "-xf", archive], check=True)
        return os.path.join(scratch, "mirbsd"), "www"
    root = os.path.join(scratch, "example")
    subprocess.run([os.path.join(PROJECT, "examples", "make-repository"), root], check=True, stdout=subprocess.DEVNULL)
    return root, "calculator"


def list_revisions(root, module):
    """Lists (path, [revision]) in the order of paths, from the client's log, without dead revisions."""
    log = subprocess.run(["cvs", "-f", "-Q", "-d", root, "rlog", module], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    files, path, before = {}, None, ""
    for line in log.stdout.decode("utf-8", "surrogateescape").split("\n"):
        if line.startswith("RCS file: "):
            path = line[len("RCS file: ") + len(root) + 1:-2].replace("/Attic/", "/")
        elif before == "----------------------------" and line.startswith("revision "):
            files.setdefault(path, []).append(line.split()[1])
        elif before.startswith("revision ") and "state: dead;" in line:
            files[path].pop()
        before = line
    return sorted(files.items())


def take_part(root, module, wanted, scratch):
    """Copies the first files of a module into a new root. Returns it, and a list of (revision, path)."""
    part = os.path.join(scratch, "part")
    shutil.copytree(os.path.join(root, "CVSROOT"), os.path.join(part, "CVSROOT"))
    taken = []
    for path, revisions in list_revisions(root, module):
        if len(taken) >= wanted:
            break
        folder, name = os.path.split(path)
        place = os.path.join(folder, name + ",v")
        if not os.path.exists(os.path.join(root, place)):
            place = os.path.join(folder, "Attic", name + ",v")
        os.makedirs(os.path.dirname(os.path.join(part, place)), exist_ok=True)
        shutil.copy2(os.path.join(root, place), os.path.join(part, place))
        taken += [(revision, path) for revision in revisions]
    return part, taken[:wanted]


def run_server(command, root, revisions):
    server = subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE)

    def ask(text):
        server.stdin.write(text.encode("utf-8", "surrogateescape"))
        server.stdin.flush()
        while True:
            line = server.stdout.readline().rstrip(b"\n")
            word = line.split(b" ")[0]
            if word in (b"ok", b"error"):
                return
            if not line and server.poll() is not None:
                sys.exit("the server hung up")
            if word in (b"Created", b"Updated", b"Update-existing"):
                for _ in range(3):
                    server.stdout.readline()
                server.stdout.read(int(server.stdout.readline()))
            elif word == b"Set-sticky":
                server.stdout.readline()
                server.stdout.readline()
            elif word.endswith((b"-sticky", b"-directory", b"-entry")) or word == b"Removed":
                server.stdout.readline()

    ask(f"Root {root}\nValid-responses {RESPONSES}\nvalid-requests\nUseUnchanged\n")
    start = time.monotonic()
    for revision, path in revisions:
        ask(f"Argument -r\nArgument {revision}\nArgument {path}\nDirectory .\n{root}\nco\n")
    seconds = time.monotonic() - start
    server.stdin.close()
    server.wait()
    return seconds


def run_session(program, root_text, revisions, work):
    nowhere = os.open(os.devnull, os.O_WRONLY)
    os.chdir(work)
    start = time.monotonic()
    for revision, path in revisions:
        folder, name = os.path.split(path)
        folder = "/".join(["Main"] + folder.split("/")[1:])
        target = os.path.join(work, folder, name)
        if os.path.exists(target):
            os.unlink(target)
        # posix_spawn, because the subprocess module would take as long as the command itself.
        words = [program, "-d", root_text, "checkout", "-r", revision, "-d", folder, path]
        child = os.posix_spawn(program, words, os.environ, file_actions=[(os.POSIX_SPAWN_DUP2, nowhere, 1)])
        if os.waitpid(child, 0)[1] != 0 or not os.path.exists(target):
            sys.exit(f"cvs-session: {revision} {path} failed")
    seconds = time.monotonic() - start
    os.chdir(HERE)
    os.close(nowhere)
    return seconds


def run_import(programs, root_text, module, into):
    start = time.monotonic()
    result = quiet([os.path.join(programs, "talvek-import"), "run", "--no-verify", "--repos-path", root_text, "--module-name", module, "--into", into])
    if result.returncode not in (0, 3):
        sys.exit(f"talvek-import: {result.stderr.decode(errors='replace')}")
    return time.monotonic() - start


def run_cvsimport(root_text, module, into, home):
    # A new $HOME each time, because cvsps caches there what it has read.
    os.makedirs(home)
    start = time.monotonic()
    result = quiet(["git", "cvsimport", "-R", "-d", root_text, "-C", into, module], env=dict(os.environ, HOME=home))
    if result.returncode != 0:
        print(f"  git cvsimport ends with status {result.returncode}: {result.stderr.decode(errors='replace')[-300:]}")
    return time.monotonic() - start


def show(name, seconds, count, note=""):
    print(f"  {name:<10}{seconds:8.1f} s {count / seconds:8.0f} revisions/s  {note}", flush=True)


def measure(latency, options, root, module, revisions, scratch):
    print(f"latency {latency} ms, {len(revisions)} revisions")
    os.environ["DELAY_MS"] = str(latency)
    os.environ["CVS_RSH"] = os.path.join(HERE, "delayed_rsh.py")
    root_text = f":ext:me@localhost:{root}" if latency else root
    command = [os.environ["CVS_RSH"], "localhost", "cvs server"] if latency else ["cvs", "server"]
    place = os.path.join(scratch, f"latency-{latency}")
    os.makedirs(os.path.join(place, "work"))
    count = len(revisions)
    yardstick = run_server(command, root, revisions)
    show("server", yardstick, count)
    seconds = run_session(os.path.join(options.bin, "cvs-session"), root_text, revisions, os.path.join(place, "work"))
    show("session", seconds, count, f"{yardstick / seconds:.2f} of the yardstick")
    imported = None
    if os.path.exists(os.path.join(options.bin, "talvek-import")):
        imported = run_import(options.bin, root_text, module, os.path.join(place, "import"))
        show("import", imported, count, f"{yardstick / imported:.2f} of the yardstick")
    if quiet(["git", "cvsimport", "-h"]).returncode in (0, 1, 129) and shutil.which("cvsps"):
        seconds = run_cvsimport(root_text, module, os.path.join(place, "cvsimport"), os.path.join(place, "home"))
        show("cvsimport", seconds, count, f"the import is faster by {seconds / imported:.1f}" if imported else "")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--bin", required=True, help="the folder with cvs-session and talvek-import")
    parser.add_argument("--root", help="the repository's folder; by default that of an archive beside the project "
                        "(shared/cvsroots/mirbsd.tar.xz) or, without it, the example repository")
    parser.add_argument("--module", help="the module in that repository")
    parser.add_argument("--revisions", type=int, default=2000, metavar="N", help="how many revisions (%(default)s)")
    parser.add_argument("--latency", type=int, action="append", metavar="MS",
                        help="round trip in milliseconds; may be repeated (0, 20 and 100)")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="talvek-bench-") as scratch:
        root, module = (os.path.abspath(options.root), options.module) if options.root else find_root(scratch)
        part, revisions = take_part(root, module, options.revisions, scratch)
        for latency in options.latency or [0, 20, 100]:
            measure(latency, options, part, module, revisions, scratch)


if __name__ == "__main__":
    main()
