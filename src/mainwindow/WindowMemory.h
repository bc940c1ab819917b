#pragma once

#include <QString>

class QHeaderView;
class QWidget;

/// What the program remembers of its windows from run to run: size and place, and the columns' widths, order and
/// sorting. It lies in window.ini beside the settings; unreadable values are ignored, and so is a failure to write.
/// @p name tells a window from others; the main window has none.
namespace WindowMemory {

void save(const QWidget& window, const QHeaderView& columns, const QString& name = {});
void restore(QWidget& window, QHeaderView& columns, const QString& name = {});

} // namespace WindowMemory
