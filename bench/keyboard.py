"""Keys, without a process that first has to start."""

import ctypes
import time

_X = ctypes.CDLL("libX11.so.6")
_TEST = ctypes.CDLL("libXtst.so.6")
_X.XOpenDisplay.restype = ctypes.c_void_p
_X.XStringToKeysym.restype = ctypes.c_ulong


class Keyboard:
    def __init__(self, display):
        """Of the display of that name, for as long as we live."""
        self._display = ctypes.c_void_p(_X.XOpenDisplay(display.encode()))
        if not self._display:
            raise RuntimeError(f"no display {display}")

    def press(self, name):
        """Answers the moment of pressing."""
        code = _X.XKeysymToKeycode(self._display, ctypes.c_ulong(_X.XStringToKeysym(name.encode())))
        moment = time.monotonic()
        for is_down in (1, 0):
            _TEST.XTestFakeKeyEvent(self._display, code, is_down, ctypes.c_ulong(0))
        _X.XFlush(self._display)
        return moment
