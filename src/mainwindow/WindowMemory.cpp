#include "WindowMemory.h"

#include <QHeaderView>
#include <QMainWindow>
#include <QSettings>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace {

QString filePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) + u"/window.ini"_s;
}

const QString geometry = u"geometry"_s;
const QString columnState = u"columns"_s;

} // namespace

namespace WindowMemory {

void save(const QMainWindow& window, const QHeaderView& columns)
{
    QSettings memory(filePath(), QSettings::IniFormat);
    memory.setValue(geometry, window.saveGeometry());
    memory.setValue(columnState, columns.saveState());
}

void restore(QMainWindow& window, QHeaderView& columns)
{
    const QSettings memory(filePath(), QSettings::IniFormat);
    window.restoreGeometry(memory.value(geometry).toByteArray());
    columns.restoreState(memory.value(columnState).toByteArray());
}

} // namespace WindowMemory
