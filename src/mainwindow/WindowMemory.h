#pragma once

class QHeaderView;
class QMainWindow;

/// What the program remembers of its window from run to run: size and place, and the columns' widths, order and
/// sorting. It lies in window.ini beside the settings; what cannot be read is passed over, and so is a failure to
/// write.
namespace WindowMemory {

void save(const QMainWindow& window, const QHeaderView& columns);
void restore(QMainWindow& window, QHeaderView& columns);

} // namespace WindowMemory
