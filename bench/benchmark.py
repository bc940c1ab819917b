"""What the benchmarks have in common."""

import contextlib
import os
import subprocess

TOP = os.path.abspath(os.path.join(os.path.dirname(__file__), ".."))
SERVERS = os.path.join(TOP, "tests", "servers")
BUILD = os.path.join(TOP, "build", "bench")


def build(target):
    """Builds a program as it is released, and answers its path: one of the benchmarks, or Quillbox itself."""
    for command in (
        ["cmake", "--preset", "release", "-B", BUILD, "-D", "QUILLBOX_BENCH=ON"],
        ["cmake", "--build", BUILD, "--target", target],
    ):
        subprocess.run(command, cwd=TOP, check=True, stdout=subprocess.DEVNULL)
    return os.path.join(BUILD, "" if target == "Quillbox" else "bench", target)


@contextlib.contextmanager
def helper(*command):
    """Runs a program from tests/servers, or at a path; gives the words of its first line, and the process."""
    with subprocess.Popen(command, cwd=SERVERS, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True) as process:
        words = process.stdout.readline().split()
        if not words:
            process.wait()
            raise RuntimeError(f"{command[0]} has not started")
        try:
            yield dict(zip(words[::2], words[1::2])), process
        finally:
            process.stdin.close()  # Which ends it, and with it the thread that reads its lines.
            process.wait()


def in_network_of_its_own(command):
    """The command line that runs a command in a network namespace, where it may make devices. Loopback works there."""
    as_root = [] if os.getuid() == 0 else ["--map-root-user"]
    return ["unshare", "--net", *as_root, "sh", "-c", 'ip link set lo up && exec "$@"', "sh", *command]
