#pragma once

#include "SheetQueue.h"

#include <QList>

class QMessageBox;

/// Adds @p details to @p box, between its text and its buttons. What looks like markup is none; each value is a label
/// that is described by its name, and codes can be selected.
void addSheetDetails(QMessageBox& box, const QList<SheetDetail>& details);
