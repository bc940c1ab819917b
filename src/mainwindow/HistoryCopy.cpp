#include "HistoryCopy.h"

#include "HistoryText.h"
#include "UploadLedger.h"

#include <QApplication>
#include <QClipboard>

#include <utility>

namespace {

constexpr qsizetype rowsAtOnce = 500; ///< They take a few milliseconds.

} // namespace

HistoryCopy::HistoryCopy(UploadLedger& ledger, QList<LedgerKey> keys, QObject* parent)
    : QObject(parent)
    , m_ledger(ledger)
    , m_keys(std::move(keys))
    , m_text(HistoryText::line(HistoryText::titles()))
{
    connect(QApplication::clipboard(), &QClipboard::dataChanged, this, &QObject::deleteLater);
    readSome();
}

void HistoryCopy::readSome()
{
    m_ledger.read(m_keys.mid(m_next, rowsAtOnce), this, [this](const std::optional<QList<LedgerRow>>& rows) {
        if (rows) {
            add(*rows);
        } else {
            QApplication::beep();
            deleteLater();
        }
    });
}

void HistoryCopy::add(const QList<LedgerRow>& rows)
{
    for (const LedgerRow& row : rows) {
        m_text += HistoryText::line(HistoryText::fields(row.entry));
    }
    m_next += rowsAtOnce;
    if (m_next < m_keys.size()) {
        QMetaObject::invokeMethod(this, &HistoryCopy::readSome, Qt::QueuedConnection);
    } else {
        QApplication::clipboard()->setText(m_text); // Which ends it.
    }
}
