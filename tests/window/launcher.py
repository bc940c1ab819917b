"""Programs started by their launchers, with files, by the library that desktops and file managers do it with."""

import os
import signal
import tempfile

from desktop import wait_for
from program import Finder, Program


class _Child:
    """A child process by its number, with what a Program uses of subprocess.Popen."""

    def __init__(self, pid):
        self.pid = pid
        self._code = None

    def poll(self):
        if self._code is None:
            pid, status = os.waitpid(self.pid, os.WNOHANG)
            if pid != 0:
                self._code = os.waitstatus_to_exitcode(status)
        return self._code

    def wait(self, seconds=60):
        wait_for(lambda: self.poll() is not None, "the process to end", seconds)
        return self._code

    def kill(self):
        if self.poll() is None:
            os.kill(self.pid, signal.SIGKILL)


class LaunchedProgram(Program):
    def __init__(self, desktop, launcher, paths, environment):
        """Starts what the launcher says with the files at those paths; environment adds to the desktop's.

        What the program prints goes where this process prints.
        """
        from gi.repository import Gio, GLib

        self._desktop = desktop
        self._output = tempfile.TemporaryFile()
        self._finder = Finder(self._bus)
        pids = []
        context = Gio.AppLaunchContext()
        for name, value in {**desktop.environment, **environment}.items():
            context.setenv(name, value)
        information = Gio.DesktopAppInfo.new_from_filename(launcher)
        self.startup_class = information.get_startup_wm_class()
        information.launch_uris_as_manager(
            [Gio.File.new_for_path(path).get_uri() for path in paths],
            context,
            GLib.SpawnFlags.SEARCH_PATH | GLib.SpawnFlags.DO_NOT_REAP_CHILD,
            None,
            None,
            lambda _launcher, pid, _data: pids.append(pid),
            None,
        )
        (pid,) = pids  # One program takes all files.
        self.process = _Child(pid)
