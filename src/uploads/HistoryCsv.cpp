#include "HistoryCsv.h"

#include "HistoryText.h"
#include "LedgerDatabase.h"

#include <QSaveFile>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype rowsAtOnce = 500;

QByteArray lineOf(const QStringList& cells)
{
    QByteArray line;
    for (QString cell : cells) {
        if (!cell.isEmpty() && u"=+-@\t\r"_s.contains(cell.front())) {
            cell.prepend(u'\'');
        }
        line += line.isEmpty() ? "\"" : ",\"";
        line += cell.replace(u'"', u"\"\""_s).toUtf8() + '"';
    }
    return line + "\r\n";
}

} // namespace

QByteArray HistoryCsv::titles()
{
    return lineOf(HistoryText::titles());
}

QByteArray HistoryCsv::line(const HistoryEntry& entry)
{
    return lineOf(HistoryText::fields(entry));
}

bool HistoryCsv::write(const QString& path, LedgerDatabase& database, const LedgerQuery& query)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    file.write(titles());
    const QList<LedgerKey> keys = database.find(query);
    for (qsizetype first = 0; first < keys.size(); first += rowsAtOnce) {
        for (const LedgerRow& row : database.read(keys.mid(first, rowsAtOnce))) {
            file.write(line(row.entry));
        }
    }
    return file.commit();
}
