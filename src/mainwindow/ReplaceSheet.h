#pragma once

#include "HeldDrops.h"

class QWidget;

/// Puts @p question in a sheet of @p window. Where that does not show there is nobody to ask, and nothing is replaced.
void askWhetherToReplace(QWidget& window, const HeldDrops::Question& question);
