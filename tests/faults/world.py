"""What every fault needs: the programs, a folder, made-up logs, fake clients, and checks of what is left over."""

import glob
import os
import re
import resource
import shutil
import signal
import subprocess
import time

PROJECT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))


class Broken(Exception):
    """A promise was not kept; the text says how."""


def require(condition, text):
    if not condition:
        raise Broken(text)


def one_line(text, limit=150):
    line = text.decode("utf-8", "replace").strip().split("\n")[-1].replace("talvek-import: ", "")[:4096]
    for pattern, name in ((r"[^ ']*/fault-\d+/(\./)?", ""), (r"talvek-import-\w{6}", "talvek-import-..."),
                          (r"talvek-em-\d+", "talvek-em-PID"), (r"pack[_-]\w+", "pack")):
        line = re.sub(pattern, name, line)
    return line if len(line) <= limit else line[:limit - 3] + "..."


class Result:
    """How a program ended. A status above 128 is a signal's."""

    def __init__(self, status, output, errors, seconds, megabytes):
        self.status, self.output, self.errors = status, output, errors
        self.seconds, self.megabytes = seconds, megabytes

    def told(self):
        return f"status {self.status}: {one_line(self.errors)}" if self.errors.strip() else f"status {self.status}"


class World:
    """A folder for one fault. It is outside /tmp, because some faults fill or unmount that."""

    def __init__(self, folder, programs, repository, provider):
        self.folder, self.programs, self.repository, self.provider = folder, programs, repository, provider
        self.mark = f"TALVEK_FAULT={os.path.basename(folder)}-{os.getpid()}"
        self.pids = []
        os.makedirs(os.path.join(folder, "tmp"))

    def path(self, *names):
        return os.path.join(self.folder, *names)

    def write(self, name, data):
        os.makedirs(os.path.dirname(self.path(name)), exist_ok=True)
        with open(self.path(name), "wb") as file:
            file.write(data if isinstance(data, bytes) else data.encode())
        return self.path(name)

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def client(self, script, name="cvs"):
        """Makes a fake cvs. It appends its arguments to the file "starts" and runs the script."""
        path = self.write(name, f"#!/bin/sh\necho \"$*\" >> '{self.path('starts')}'\n{script}\n")
        os.chmod(path, 0o755)
        return path

    def starts(self):
        return self.read("starts").count(b"\n") if os.path.exists(self.path("starts")) else 0

    def environment(self, changes):
        name, value = self.mark.split("=")
        return {**os.environ, name: value, "TMPDIR": self.path("tmp"), **changes}

    def start(self, arguments, environment=None, before=None):
        """Starts talvek-import (or the program that `arguments` names)."""
        program = arguments[0] if arguments[0].startswith("/") else os.path.join(self.programs, arguments[0])
        process = subprocess.Popen([program] + arguments[1:], cwd=self.folder, stdin=subprocess.DEVNULL,
                                stdout=open(self.path("out"), "wb"), stderr=open(self.path("err"), "wb"),
                                env=self.environment(environment or {}), preexec_fn=before,
                                start_new_session=True)
        self.pids.append(process.pid)
        return process

    def end(self, process, began=None, limit=120):
        """Waits for the end of a process. It is a broken promise if that takes more than `limit` seconds."""
        began = began or time.monotonic()
        megabytes = 0
        while True:
            megabytes = max(megabytes, self.peak(process.pid))
            pid, status = os.waitpid(process.pid, os.WNOHANG)
            if pid:
                break
            if time.monotonic() - began > limit:
                process.kill()
                os.waitpid(process.pid, 0)
                raise Broken(f"no end within {limit} seconds")
            time.sleep(0.002)
        process.returncode = os.waitstatus_to_exitcode(status)
        code = process.returncode if process.returncode >= 0 else 128 - process.returncode
        return Result(code, self.read("out"), self.read("err"), time.monotonic() - began, megabytes)

    @staticmethod
    def peak(pid):
        """The peak memory so far, in megabytes. Not getrusage(): before its exec() the child is a copy of this
        script, and that would count."""
        try:
            with open(f"/proc/{pid}/status", encoding="utf-8") as file:
                return next((int(line.split()[1]) // 1024 for line in file if line.startswith("VmHWM")), 0)
        except OSError:
            return 0

    def run(self, arguments, environment=None, before=None, limit=120):
        began = time.monotonic()
        return self.end(self.start(arguments, environment, before), began, limit)

    def in_mounts(self, mounts, arguments, environment=None, limit=120):
        """Runs in a mount namespace with file systems [(folder, options)], such as "ro" or "size=64k". Afterwards
        the file "left" lists what is in them."""
        script = "".join(f"mount -t tmpfs -o {options} tmpfs '{folder}' && " for folder, options in mounts)
        check = " ".join(f"'{folder}'" for folder, _ in mounts)
        program = os.path.join(self.programs, arguments[0])
        words = " ".join("'" + word.replace("'", "'\\''") + "'" for word in [program] + arguments[1:])
        # A session and its server end a moment after their caller, so wait until their files are gone.
        script += (f"{{ {words}; status=$?; n=0; while ls -A {check} > left; grep -q ^cvs-serv left && "
                   "[ $((n += 1)) -lt 100 ]; do sleep 0.1; done; exit $status; }")
        owner = [] if os.geteuid() == 0 else ["-r"]
        return self.run(["/usr/bin/unshare", "-m"] + owner + ["sh", "-c", script], environment, limit=limit)

    def import_options(self, *more):
        return self.run_options("--repos-path", self.repository, "--module-name", "calculator") + list(more)

    def run_options(self, *more, of_cvs=("--nested-branches",)):
        """An import by the fault's provider; `of_cvs`: options of the provider cvs alone."""
        return (["talvek-import", "run", "--no-verify", "--provider", self.provider, "--quiet"] + list(more)
                + (list(of_cvs) if self.provider == "cvs" else []))

    def references(self, target):
        git = subprocess.run(["git", "-C", self.path(target), "for-each-ref"], capture_output=True, check=True)
        subprocess.run(["git", "-C", self.path(target), "fsck", "--strict", "--no-dangling"],
                       capture_output=True, check=True)
        return git.stdout

    def processes(self):
        """The ids of processes that this fault's runs have left, found by a variable in their environment."""
        found = []
        for entry in glob.glob("/proc/[0-9]*/environ"):
            try:
                with open(entry, "rb") as file:
                    if self.mark.encode() in file.read().split(b"\0"):
                        found.append(int(entry.split("/")[2]))
            except OSError:
                pass
        return found

    def require_nothing_left(self, target="target", database=True):
        for _ in range(100):  # a session notices within moments that its caller has gone
            if not self.processes():
                break
            time.sleep(0.05)
        require(not self.processes(), f"processes are left: {self.processes()}")
        left = [name for name in os.listdir(self.path("tmp")) if not name.startswith("Talvek")]
        require(not left, f"TMPDIR holds {left}")
        require(not database or not self.databases(), f"database files are left: {self.databases()}")
        require(not os.path.lexists(self.path(target)), "the target is left")

    def databases(self):
        return [name for pid in self.pids for name in glob.glob(f"/tmp/talvek-em-{pid}.*")]

    def clear(self):
        for pid in self.processes():
            os.kill(pid, signal.SIGKILL)
        shutil.rmtree(self.folder, ignore_errors=True)


def limit_files(size):
    """A function for preexec_fn: no file may grow beyond `size` bytes."""
    return lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))


def wait_until(condition, what, seconds=30):
    end = time.monotonic() + seconds
    while not condition():
        require(time.monotonic() < end, f"{what} didn't happen within {seconds} seconds")
        time.sleep(0.002)


DASHES = b"-" * 28 + b"\n"
END = b"=" * 77 + b"\n"


def log_file(path="/cvs/mod/a.c,v", names=(), revisions=(("1.1", "x"),), date="2003/01/02 10:11:12"):
    """One file of an rlog. `revisions`: number and message; `names`: name and number."""
    def data(text):
        return text if isinstance(text, bytes) else text.encode()
    head = next((number for number, _ in revisions if number.count(".") == 1), "1.1")
    parts = [b"\nRCS file: ", data(path), b"\nhead: ", data(head), b"\nbranch:\nlocks: strict\naccess list:\nsymbolic names:\n"]
    for name, number in names:
        parts += [b"\t", data(name), b": ", data(number), b"\n"]
    count = str(len(revisions)).encode()
    parts.append(b"keyword substitution: kv\ntotal revisions: " + count + b";\tselected revisions: " + count +
                 b"\ndescription:\n")
    for number, message in revisions:
        parts += [DASHES, b"revision ", data(number), b"\ndate: ", data(date),
                  b";  author: joe;  state: Exp;\n", data(message), b"\n"]
    return b"".join(parts) + END
