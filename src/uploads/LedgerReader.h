#pragma once

#include "LedgerRow.h"

#include <QHash>
#include <QList>
#include <QSqlDatabase>
#include <QString>

#include <optional>
#include <utility>

class QSqlQuery;

/// A database that LedgerDatabase has opened, for others that read it.
struct LedgerSource {
    QString name; ///< Null: there is none.
    QString options; ///< To connect with.
    qint64 run = 0; ///< The present one.

    friend bool operator==(const LedgerSource&, const LedgerSource&) = default;
};

/// Reads the database of a history over a connection of its own, beside the writing. Everything may wait for the disk;
/// std::nullopt answers that it cannot be read, as reason() says. Belongs to one thread.
class LedgerReader {
public:
    explicit LedgerReader(LedgerSource source);
    LedgerReader(const LedgerReader&) = delete;
    LedgerReader& operator=(const LedgerReader&) = delete;
    ~LedgerReader();

    const LedgerSource& source() const { return m_source; }
    /// What the system said of the last problem.
    const QString& reason() const { return m_reason; }

    /// The rows that fit @p query, in its order.
    std::optional<QList<LedgerKey>> find(const LedgerQuery& query);
    /// What is known of those of @p keys that find() has answered and that are still there.
    std::optional<QList<LedgerRow>> read(const QList<LedgerKey>& keys);

    /// When each copy's newest file at each destination was confirmed, by the copy's name and the folder that it was to
    /// go to, as a location: milliseconds since the epoch. What was sent by hand does not count.
    using LastUploads = QHash<std::pair<QString, QString>, qint64>;
    std::optional<LastUploads> lastUploads();

    /// What keysOf() expects as the first column. One for all, since each costs time for every row.
    static QString keyColumn(qint64 run);
    /// The rows that @p query finds; std::nullopt when it fails.
    static std::optional<QList<LedgerKey>> keysOf(QSqlQuery& query);

private:
    bool prepare(QSqlQuery& query, const QString& command);
    void noteProblem(const QSqlQuery& query);

    LedgerSource m_source;
    QString m_name; ///< Of the connection.
    QSqlDatabase m_database;
    QString m_reason;
};
