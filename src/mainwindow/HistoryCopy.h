#pragma once

#include "LedgerRow.h"

#include <QList>
#include <QObject>

class UploadLedger;

/// Puts rows of the history on the clipboard, as lines under their titles, and then destroys itself. Rows are taken a
/// few at a time, between which the loop has its turn; few rows of this run are there at once. What is copied elsewhere
/// meanwhile stays. Belongs to the main thread.
class HistoryCopy final : public QObject {
    Q_OBJECT

public:
    /// Begins. @p ledger outlives it.
    HistoryCopy(UploadLedger& ledger, QList<LedgerKey> keys, QObject* parent);

private:
    void readSome();
    void add(const QList<LedgerRow>& rows);

    UploadLedger& m_ledger;
    QList<LedgerKey> m_keys;
    qsizetype m_next = 0; ///< The first that was not read yet.
    QString m_text;
};
