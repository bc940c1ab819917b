"""Another program of this folder in a child of this process, which has read its modules already: a new Python with all of
them takes longer than what most tests have a server do."""

import gc
import importlib
import os
import select
import subprocess
import sys
import traceback


def read_modules(words):
    """Those of the program of those words, and what it says that it will need besides."""
    module = _module_of(words[0])
    if hasattr(module, "read_modules"):
        module.read_modules(words[1:])


def _module_of(script):
    return importlib.import_module(os.path.basename(script).removesuffix(".py"))


def become(words, stdin, stdout, stderr=2):
    """Runs the program of those words in this process, which ends with it; of its descriptors it keeps these alone."""
    for number, descriptor in enumerate((stdin, stdout, stderr)):
        os.dup2(descriptor, number)
    os.closerange(3, os.sysconf("SC_OPEN_MAX"))
    sys.argv = words
    code = 1
    try:
        _module_of(words[0]).main()
        code = 0
    except SystemExit as end:
        if isinstance(end.code, str):
            print(end.code, file=sys.stderr)
        else:
            code = end.code or 0
    except BaseException:
        traceback.print_exc()
    finally:
        sys.stdout.flush()
        sys.stderr.flush()
        os._exit(code)  # To tidy up after all modules would take longer than to run.


def fork():
    """os.fork() for a child that becomes another program."""
    gc.freeze()  # Lest a collection in the child touches all that it shares with us.
    sys.stdout.flush()  # Lest it prints that, too.
    return os.fork()


class ForkedProgram:
    """With what subprocess.Popen has of a process."""

    def __init__(self, words, stdin, stdout, stderr=2, before=lambda: None):
        """The child calls before() first."""
        read_modules(words)
        self.returncode = None
        self.pid = fork()
        if self.pid == 0:
            before()
            become(words, stdin, stdout, stderr)

    def poll(self):
        return self._wait(os.WNOHANG)

    def wait(self, timeout=None):
        if self.poll() is None:
            descriptor = os.pidfd_open(self.pid)
            try:
                if not select.select([descriptor], [], [], timeout)[0]:
                    raise subprocess.TimeoutExpired("the helper", timeout)
            finally:
                os.close(descriptor)
        return self._wait(0)

    def _wait(self, options):
        if self.returncode is None:
            process, status = os.waitpid(self.pid, options)
            if process != 0:
                self.returncode = os.waitstatus_to_exitcode(status)
        return self.returncode
