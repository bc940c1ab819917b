#pragma once

#include "HeldDrops.h"

class QWidget;

/// Puts @p question in a sheet of @p window, as long as it stands.
void askWhetherToReplace(QWidget& window, const HeldDrops::Question& question);
