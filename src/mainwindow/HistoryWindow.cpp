#include "HistoryWindow.h"

#include "HistoryRows.h"
#include "HistoryTableModel.h"
#include "HistoryText.h"
#include "UploadHistory.h"
#include "ui_HistoryWindow.h"

#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QShortcut>

#include <algorithm>
#include <chrono>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using HistoryText::Column;

namespace {

constexpr int rowHeight = 28;

} // namespace

HistoryWindow::HistoryWindow(UploadHistory& history, QueueAgain queueAgain)
    : m_history(history)
    , m_queueAgain(std::move(queueAgain))
    , m_ui(std::make_unique<Ui::HistoryWindow>())
{
    m_ui->setupUi(this);
    m_ui->historyTable->setModel(new HistoryTableModel(history, this));
    m_ui->historyTable->setEmptyText(u"No files yet"_s);
    m_ui->historyTable->verticalHeader()->setDefaultSectionSize(rowHeight);
    setDefaultWidths();
    connectActions();
    m_refresh.setSingleShot(true);
    m_refresh.setInterval(200ms);
    connect(&m_refresh, &QTimer::timeout, this, &HistoryWindow::refresh);
    connect(&history, &UploadHistory::rowsChanged, this, &HistoryWindow::refreshSoon);
    connect(&history, &UploadHistory::rowsAppended, this, &HistoryWindow::refreshSoon);
    connect(m_ui->historyTable->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &HistoryWindow::showWhatCanBeDone);
}

HistoryWindow::~HistoryWindow() = default;

QHeaderView& HistoryWindow::columns()
{
    return *m_ui->historyTable->horizontalHeader();
}

void HistoryWindow::select(const QList<int>& rows)
{
    if (rows.isEmpty()) {
        return;
    }
    const QAbstractItemModel& model = *m_ui->historyTable->model();
    QItemSelection selection;
    for (qsizetype first = 0, next = 0; first < rows.size(); first = next) {
        next = first + 1;
        while (next < rows.size() && rows[next] == rows[next - 1] + 1) {
            ++next;
        }
        selection.append({ model.index(rows[first], 0), model.index(rows[next - 1], model.columnCount() - 1) });
    }
    m_ui->historyTable->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    m_ui->historyTable->scrollTo(model.index(rows.first(), 0));
}

void HistoryWindow::connectActions()
{
    connect(m_ui->queueAgainButton, &QPushButton::clicked, this, &HistoryWindow::queueAgain);
    connect(m_ui->queueAgainAction, &QAction::triggered, this, &HistoryWindow::queueAgain);
    connect(m_ui->copyHistoryButton, &QPushButton::clicked, this, &HistoryWindow::copy);
    connect(m_ui->copyHistoryAction, &QAction::triggered, this, &HistoryWindow::copy);
    m_ui->historyTable->addActions({ m_ui->queueAgainAction, m_ui->copyHistoryAction });
    for (const QKeySequence& key : { QKeySequence(Qt::Key_Escape), QKeySequence(u"Ctrl+W"_s) }) {
        connect(new QShortcut(key, this), &QShortcut::activated, this, &QWidget::close);
    }
}

void HistoryWindow::setDefaultWidths()
{
    const TextTable& table = *m_ui->historyTable;
    QHeaderView& header = columns();
    const auto setWidth = [&table, &header](Column column, const QString& text) {
        header.resizeSection(static_cast<int>(column), columnWidthFor(table, text));
    };
    header.setMinimumSectionSize(columnWidthFor(table, u"M"_s));
    setWidth(Column::File, QString(24, u'x'));
    setWidth(Column::Size, u"888.88 MB"_s);
    setWidth(Column::Duration, u"88 min 88 s"_s);
    setWidth(Column::Speed, u"888.8 MB/s"_s);
    setWidth(Column::Outcome, u"Confirmed, but 888,888,888 bytes listed, not 888,888,888"_s);
    header.setStretchLastSection(true);
}

QList<int> HistoryWindow::selectedRows() const
{
    QList<int> rows;
    for (const QItemSelectionRange& range : m_ui->historyTable->selectionModel()->selection()) {
        for (int row = range.top(); row <= range.bottom(); ++row) {
            rows.append(row);
        }
    }
    // Rows are selected whole, but may have been selected in parts.
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

void HistoryWindow::queueAgain()
{
    const QList<int> selected = selectedRows();
    m_queueAgain(selected.isEmpty() ? HistoryRows::unsettled(m_history.entries()) : selected);
    refresh();
}

void HistoryWindow::copy()
{
    QList<int> rows = selectedRows();
    if (rows.isEmpty()) {
        for (int row = 0; row < m_history.rowCount(); ++row) {
            rows.append(row);
        }
    }
    QApplication::clipboard()->setText(HistoryText::lines(m_history.entries(), rows));
}

void HistoryWindow::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    m_followedRow = m_history.currentRow();
    if (m_followedRow >= 0) {
        m_ui->historyTable->scrollTo(m_ui->historyTable->model()->index(m_followedRow, 0));
    }
    refresh();
}

void HistoryWindow::refreshSoon()
{
    // Not at once: what follows looks at all that is selected.
    if (isVisible() && !m_refresh.isActive()) {
        m_refresh.start();
    }
}

void HistoryWindow::refresh()
{
    showWhatCanBeDone();
    m_ui->summaryLabel->setText(HistoryText::summary(m_history.runTally(), m_history.waitingCount()));
    follow();
}

void HistoryWindow::showWhatCanBeDone()
{
    const QList<int> selected = selectedRows();
    const bool canQueue = selected.isEmpty() ? m_history.hasUnsettledRows()
                                             : std::any_of(selected.begin(), selected.end(), [this](int row) {
                                                   return m_history.entries().withoutPath(row).canQueueAgain();
                                               });
    const bool canCopy = m_history.rowCount() > 0;
    m_ui->queueAgainButton->setEnabled(canQueue);
    m_ui->queueAgainAction->setEnabled(canQueue);
    m_ui->copyHistoryButton->setEnabled(canCopy);
    m_ui->copyHistoryAction->setEnabled(canCopy);
}

void HistoryWindow::follow()
{
    const int row = m_history.currentRow();
    if (row < 0 || row == m_followedRow) {
        return;
    }
    if (m_followedRow < 0 || isRowVisible(m_followedRow)) {
        m_ui->historyTable->scrollTo(m_ui->historyTable->model()->index(row, 0));
    }
    m_followedRow = row;
}

bool HistoryWindow::isRowVisible(int row) const
{
    const int top = m_ui->historyTable->rowViewportPosition(row);
    return top + rowHeight > 0 && top < m_ui->historyTable->viewport()->height();
}
