#include "WindowMemory.h"

#include "PrivateFile.h"

#include <QFileInfo>
#include <QHeaderView>
#include <QSettings>
#include <QStandardPaths>
#include <QWidget>

using namespace Qt::StringLiterals;

namespace {

QString filePath()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) + u"/window.ini"_s;
}

QString keyOf(const QString& window, const QString& value)
{
    return window.isEmpty() ? value : window + u'/' + value;
}

const QString geometry = u"geometry"_s;
const QString columnState = u"columns"_s;

} // namespace

namespace WindowMemory {

void save(const QWidget& window, const QHeaderView& columns, const QString& name)
{
    PrivateFile::makeFolder(
        QFileInfo(filePath()).path()); // Otherwise it is made for others too, and holds the settings.
    QSettings memory(filePath(), QSettings::IniFormat);
    memory.setValue(keyOf(name, geometry), window.saveGeometry());
    memory.setValue(keyOf(name, columnState), columns.saveState());
}

void restore(QWidget& window, QHeaderView& columns, const QString& name)
{
    const QSettings memory(filePath(), QSettings::IniFormat);
    window.restoreGeometry(memory.value(keyOf(name, geometry)).toByteArray());
    columns.restoreState(memory.value(keyOf(name, columnState)).toByteArray());
}

} // namespace WindowMemory
