"""Hostile paths and names: a saved log that names them, through talvek-import into a real Git repository."""

import os
import subprocess

from fault import faults_of
from world import log_file, require

FAULTS, fault = faults_of()

# A client that appends each argument of each call, with a NUL, to the file "words", and makes the wanted file.
CLIENT = """for word; do printf '%s\\0' "$word"; done >> '{words}'
while [ $# -gt 1 ]; do [ "$1" = -d ] && folder=$2; shift; done
mkdir -p -- "$folder" && echo content > "$folder/${{1##*/}}" """


def snapshot(world):
    return sorted(os.path.join(folder, name) for folder, folders, files in os.walk(world.folder)
                  for name in folders + files if "/work" not in folder and name not in ("words", "starts", "work"))


def run(world, log, *options):
    world.write("log", log)
    world.client(CLIENT.format(words=world.path("words")))
    world.write("out", ""), world.write("err", "")
    before = snapshot(world)
    result = world.run(["talvek-import", "run", "--no-verify", "--quiet", "--repos-path", "/cvs", "--module-name", "mod",
                        "--log-file", "log", "--cvs-path", "./cvs", "--no-force-file-by-file",
                        "--cmd-repeat-count", "1", "--work", "work", "--into", "target", "--import-log",
                        "import.log"] + list(options))
    require(result.status in (0, 3), result.told())
    world.references("target")  # throws when the repository isn't sound
    made = [name for name in snapshot(world) if name not in before and "/target" not in name]
    require(made in ([], [world.path("import.log")]), f"made outside the client folder: {made}")
    return result


def words_of(world):
    return world.read("words").split(b"\0") if os.path.exists(world.path("words")) else []


def git(world, *arguments):
    return subprocess.run(["git", "-C", world.path("target")] + list(arguments), capture_output=True,
                          check=True).stdout


PATHS = ["../evil", "../../../../tmp/evil", "/etc/evil", "", ".", "..", "a/../../evil", "deep/" + "x" * 250,
         "/".join(["d" * 200] * 20), "x" * 4096, 'say "hi"', "back\\slash", "a  b", "%s%n%d", "-rf", "-d/evil",
         "--help", "a;touch evil", "$(touch evil)", "`touch evil`", "*", "tab\there"]


@fault("paths with .., absolute, empty, of 4,096 bytes, with quotes, blanks, %s, a leading -",
       "nothing is made outside the client folder; the other files are imported")
def _(world):
    log = b"".join(log_file(path=f"/cvs/mod/{path},v", date=f"2003/01/02 10:{number:02}:00",
                            revisions=[("1.1", f"{number}")]) for number, path in enumerate(PATHS))
    result = run(world, log + log_file(path="/cvs/mod/good,v"))
    require(b"good" in git(world, "ls-tree", "--name-only", "main").split(b"\n"), "the good file is missing")
    require(b" -rf" not in b" ".join(words_of(world)), "an option came from a path")
    return result.told()


@fault("options in paths", "each reaches cvs within one word that begins with the module")
def _(world):
    run(world, b"".join(log_file(path=f"/cvs/mod/{path},v") for path in ("-d/evil", 'a" -d "/evil', "b -r 1.9")))
    words = words_of(world)
    for path in (b"mod/-d/evil", b'mod/a" -d "/evil', b"mod/b -r 1.9"):
        require(path in words, f"no word '{path.decode()}' in {words}")
    require(b"/evil" not in words, "an option came from a path")
    return "3 paths, 3 words"


@fault("format directives in paths, names and messages", "no line of the log is used as a format")
def _(world):
    text = "%s%s%s%n%d%ls%1000000d"
    run(world, log_file(path=f"/cvs/mod/{text},v", names=[(text, "1.1.0.2")],
                        revisions=[("1.1", text), ("1.1.2.1", text)]))
    require(text.encode() in world.read("import.log"), "the import log hasn't the text as it is")
    require(git(world, "log", "-1", "--format=%s", "main").strip() == text.encode(), "the message has changed")
    return "import log and commit have the text as it is"


@fault("a path that is a file first and a folder later", "the later one is a named loss, or there")
def _(world):
    result = run(world, log_file(path="/cvs/mod/x,v") + log_file(path="/cvs/mod/x/y,v", date="2004/01/02 10:11:12"))
    require(result.status == 0 or b"x/y" in result.errors, result.told())
    return result.told()


@fault("the same path in and out of Attic", "ends; the path is there once")
def _(world):
    result = run(world, log_file(path="/cvs/mod/Attic/x,v") + log_file(path="/cvs/mod/x,v", date="2004/01/02 10:11:12"))
    require(git(world, "ls-tree", "-r", "--name-only", "main") == b"x\n", "not one x")
    return result.told()


@fault("branches called Main, main, HEAD, ../x, a b, x\"y, X\"y; two names on one number",
       "each has a branch of its own that Git takes")
def _(world):
    names = ["Main", "main", "HEAD", "../x", "a b", 'x"y', 'X"y', "-d", "refs/heads/z", "a~b", "a.lock", "@"]
    log = log_file(names=[(name, f"1.1.0.{2 * number + 2}") for number, name in enumerate(names)] +
                   [("twin", "1.1.0.2")],
                   revisions=[(f"1.1.{2 * number + 2}.1", "x") for number in range(len(names))] + [("1.1", "x")])
    result = run(world, log)
    branches = git(world, "for-each-ref", "--format=%(refname)").split()
    require(len(branches) >= 8, f"only {branches}")
    return f"{len(branches)} branches; {result.told()}"
