#pragma once

#include "FTPProbe.h"

#include <QString>

/// What a trial of a connection has come to, as a sentence or two for its user.
QString probeText(const FTPProbeReport& report);
