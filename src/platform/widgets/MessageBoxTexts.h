#pragma once

#include <QString>

class QMessageBox;

/// Gives @p box its @p title, also as the caption of its window, and the @p text below. Both are shown as they stand:
/// what looks like markup is none.
void setPlainTexts(QMessageBox& box, const QString& title, const QString& text);
