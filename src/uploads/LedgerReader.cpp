#include "LedgerReader.h"

#include "HistoryText.h"
#include "LocalPath.h"
#include "TreePath.h"

#include <QLocale>
#include <QSqlError>
#include <QSqlQuery>
#include <QUuid>
#include <QVariant>

#include <utility>

using namespace Qt::StringLiterals;
using Outcome = HistoryEntry::Outcome;

namespace {

QString failures()
{
    QStringList numbers;
    for (int number = 0; number <= static_cast<int>(Outcome::NotReplacing); ++number) {
        if (isFailure(static_cast<Outcome>(number))) {
            numbers.append(QString::number(number));
        }
    }
    return numbers.join(u',');
}

/// The number of @p column as the user's language has it.
QString shownNumber(const QString& column)
{
    const QLocale locale;
    const bool isGrouped = !locale.numberOptions().testFlag(QLocale::OmitGroupSeparator);
    const QString separator = isGrouped ? locale.groupSeparator().replace(u'\'', u"''"_s) : QString();
    return u"replace(printf('%,d', "_s + column + u"), ',', '"_s + separator + u"')"_s;
}

/// The words that stand in the column for @p outcome.
QString shownWords(Outcome outcome)
{
    QString words = u'\'' + HistoryText::outcomeWords(outcome) + u'\'';
    if (outcome == Outcome::OtherSize) {
        const QString number = u"' || %1 || '"_s;
        words = words.arg(number.arg(shownNumber(u"listedSize"_s)), number.arg(shownNumber(u"size"_s)));
    }
    return HistoryText::showsStatus(outcome) ? words + u" || coalesce(status, '')"_s : words;
}

QString shownOutcome()
{
    QString words = u"(CASE outcome"_s;
    for (int number = 0; number <= static_cast<int>(Outcome::NotReplacing); ++number) {
        words += u" WHEN %1 THEN "_s.arg(number) + shownWords(static_cast<Outcome>(number));
    }
    return words
        + u" END || iif(settled = %1, '%2', ''))"_s.arg(QString::number(static_cast<int>(LedgerSettled::QueuedAgain)),
                                                        HistoryText::queuedAgainWords);
}

/// What the database sorts by. People's order of names would need a key for each; this one ignores the case of the
/// letters from A to Z.
QString sortedBy(LedgerQuery::Order order)
{
    switch (order) {
        using enum LedgerQuery::Order;
    case Row:
        return u"row"_s;
    case Time:
        return u"time"_s;
    case Name:
        return u"CAST(name AS TEXT) COLLATE NOCASE"_s;
    case Size:
        return u"size"_s;
    case Duration:
        return u"durationMs"_s;
    case Speed:
        return u"(CASE WHEN outcome IN (%1, %2, %3) AND size > 0 THEN size * 1000.0 / max(durationMs, 1) END)"_s.arg(
            QString::number(static_cast<int>(Outcome::Confirmed)),
            QString::number(static_cast<int>(Outcome::OtherSize)),
            QString::number(static_cast<int>(Outcome::NotListed)));
    case Kind:
        return u"outcome"_s;
    case Reply:
        return u"nullif(reply, '')"_s;
    case Copy:
        return u"CAST(copy AS TEXT) COLLATE NOCASE"_s;
    }
    return {};
}

/// With a "?" for the text where there is one.
QString commandOf(const LedgerQuery& query, const QString& column)
{
    QStringList conditions;
    if (!query.text.isEmpty()) {
        // The path as it is shown (TreePath::plain()).
        conditions.append(u"(replace(coalesce(CAST(folder AS TEXT), '') || '/' || CAST(name AS TEXT), '"_s
                          + TreePath::mark + u"', '/') || char(10) || coalesce(destination, '') || char(10) || "_s
                          + shownOutcome()
                          + u" || char(10) || coalesce(reply, '') || char(10) || CAST(copy AS TEXT)) LIKE ? ESCAPE "
                            "'\\'"_s);
    }
    if (query.failedOnly) {
        conditions.append(u"outcome IN (%1)"_s.arg(failures()));
    }
    QString command = u"SELECT %1 FROM files"_s.arg(column);
    if (!conditions.isEmpty()) {
        command += u" WHERE "_s + conditions.join(u" AND "_s);
    }
    const QString direction = query.isDescending ? u" DESC"_s : u""_s;
    command += u" ORDER BY "_s;
    if (query.order != LedgerQuery::Order::Row) {
        command += sortedBy(query.order) + direction + u" NULLS LAST, "_s;
    }
    return command + u"row"_s + direction;
}

std::optional<qint64> numberOf(const QVariant& value)
{
    return value.isNull() ? std::nullopt : std::optional(value.toLongLong());
}

/// Of a row with the columns that read() asks for.
HistoryEntry entryOf(const QSqlQuery& row)
{
    const QByteArray name = row.value(1).toByteArray();
    const QByteArray path = row.value(0).isNull() ? name : row.value(0).toByteArray() + '/' + name;
    const auto settled = static_cast<LedgerSettled>(row.value(5).toInt());
    return { .path = LocalPath::fromBytes(path),
             .destination = row.value(2).toString(),
             .username = row.value(14).isNull() ? std::nullopt : std::optional(row.value(14).toString()),
             .encryption = static_cast<FTPEncryption>(row.value(15).toInt()),
             .outcome = static_cast<Outcome>(row.value(3).toInt()),
             .isManual = row.value(4).toBool(),
             .isQueuedAgain = settled == LedgerSettled::QueuedAgain,
             .isAwaitingTry = settled == LedgerSettled::AwaitingTry,
             .size = numberOf(row.value(6)),
             .acknowledged = numberOf(row.value(13)),
             .durationMs = numberOf(row.value(7)),
             .listedSize = numberOf(row.value(8)),
             .status = row.value(9).toString(),
             .reply = row.value(10).toString(),
             .copy = LocalPath::fromBytes(row.value(11).toByteArray()),
             .time = row.value(12).toLongLong() };
}

} // namespace

LedgerReader::LedgerReader(LedgerSource source)
    : m_source(std::move(source))
    , m_name(QUuid::createUuid().toString())
    , m_database(QSqlDatabase::addDatabase(u"QSQLITE"_s, m_name))
{
    m_database.setDatabaseName(m_source.name);
    m_database.setConnectOptions(m_source.options);
    if (!m_database.open()) {
        m_reason = m_database.lastError().databaseText();
    }
}

LedgerReader::~LedgerReader()
{
    m_database = {};
    QSqlDatabase::removeDatabase(m_name);
}

bool LedgerReader::prepare(QSqlQuery& query, const QString& command)
{
    if (!m_database.isOpen()) {
        return false;
    }
    m_reason.clear();
    query.setForwardOnly(true);
    if (!query.prepare(command)) {
        noteProblem(query);
        return false;
    }
    return true;
}

void LedgerReader::noteProblem(const QSqlQuery& query)
{
    m_reason = query.lastError().databaseText();
}

std::optional<QList<LedgerKey>> LedgerReader::find(const LedgerQuery& query)
{
    QSqlQuery rows(m_database);
    if (!prepare(rows, commandOf(query, keyColumn(m_source.run)))) {
        return std::nullopt;
    }
    if (!query.text.isEmpty()) {
        QString text = query.text;
        for (const QChar special : { u'\\', u'%', u'_' }) {
            text.replace(special, u'\\' + QString(special));
        }
        rows.bindValue(0, u'%' + text + u'%');
    }
    std::optional<QList<LedgerKey>> keys = keysOf(rows);
    if (!keys) {
        noteProblem(rows);
    }
    return keys;
}

QString LedgerReader::keyColumn(qint64 run)
{
    return u"iif(run = %1, -1 - number, row)"_s.arg(run);
}

std::optional<QList<LedgerKey>> LedgerReader::keysOf(QSqlQuery& query)
{
    QList<LedgerKey> keys;
    if (!query.exec()) {
        return std::nullopt;
    }
    while (query.next()) {
        const qint64 key = query.value(0).toLongLong();
        keys.append(key < 0 ? LedgerKey{ .number = static_cast<int>(-1 - key) } : LedgerKey{ .row = key });
    }
    if (query.lastError().isValid()) {
        return std::nullopt;
    }
    return keys;
}

std::optional<QList<LedgerRow>> LedgerReader::read(const QList<LedgerKey>& keys)
{
    const QString command
        = u"SELECT folder, name, destination, outcome, manual, settled, size, durationMs, listedSize, status, reply, "
          "copy, time, sent, username, encryption FROM files WHERE "_s;
    QSqlQuery byRow(m_database);
    QSqlQuery byNumber(m_database);
    if (!prepare(byRow, command + u"row = ?"_s)
        || !prepare(byNumber, command + u"run = %1 AND number = ?"_s.arg(m_source.run))) {
        return std::nullopt;
    }
    QList<LedgerRow> rows;
    for (const LedgerKey key : keys) {
        QSqlQuery& query = key.isOfThisRun() ? byNumber : byRow;
        query.bindValue(0, key.isOfThisRun() ? key.number : key.row);
        const bool isDone = query.exec();
        if (isDone && query.next()) {
            rows.append({ key, entryOf(query) });
        }
        if (query.lastError().isValid()) {
            noteProblem(query);
            return std::nullopt;
        }
        query.finish();
    }
    return rows;
}

std::optional<LedgerReader::LastUploads> LedgerReader::lastUploads()
{
    QSqlQuery query(m_database);
    query.setForwardOnly(true);
    if (!prepare(query,
                 u"SELECT copy, destination, max(time) FROM files WHERE outcome = %1 AND NOT manual GROUP BY copy, "
                 "destination"_s.arg(static_cast<int>(Outcome::Confirmed)))) {
        return std::nullopt;
    }
    LastUploads times;
    for (bool isThere = query.exec() && query.next(); isThere; isThere = query.next()) {
        times.insert({ LocalPath::fromBytes(query.value(0).toByteArray()), query.value(1).toString() },
                     query.value(2).toLongLong());
    }
    if (query.lastError().isValid()) {
        noteProblem(query);
        return std::nullopt;
    }
    return times;
}
