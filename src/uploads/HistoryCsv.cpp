#include "HistoryCsv.h"

#include "HistoryText.h"
#include "LedgerReader.h"

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

bool HistoryCsv::write(const QString& path, LedgerReader& reader, const LedgerQuery& query,
                       const std::atomic<bool>& isEnding)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    file.write(titles());
    const std::optional<QList<LedgerKey>> keys = reader.find(query);
    if (!keys) {
        return false;
    }
    for (qsizetype first = 0; first < keys->size(); first += rowsAtOnce) {
        const std::optional<QList<LedgerRow>> rows = reader.read(keys->mid(first, rowsAtOnce));
        if (!rows || isEnding) {
            return false;
        }
        for (const LedgerRow& row : *rows) {
            file.write(line(row.entry));
        }
    }
    return file.commit();
}
