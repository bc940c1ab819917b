#pragma once

#include <QtGlobal>

/// Whether the environment names a display that windows can be shown on.
inline bool hasDisplay()
{
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}
