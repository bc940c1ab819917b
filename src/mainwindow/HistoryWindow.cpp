#include "HistoryWindow.h"

#include "CopyOrBeep.h"
#include "DateText.h"
#include "FocusKeeping.h"
#include "HistoryCopy.h"
#include "HistoryRows.h"
#include "HistoryTableModel.h"
#include "HistoryText.h"
#include "IconSettings.h"
#include "SelectedRows.h"
#include "SheetQueue.h"
#include "StandardFolders.h"
#include "UploadHistory.h"
#include "UploadLedger.h"
#include "UserDefaults.h"
#include "VisibleText.h"
#include "WebLink.h"
#include "WholeButtons.h"
#include "YieldingColumns.h"
#include "ui_HistoryWindow.h"

#include <QDir>
#include <QHeaderView>
#include <QScrollBar>
#include <QShortcut>

#include <algorithm>
#include <chrono>
#include <numeric>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using HistoryText::Column;

namespace {

constexpr int rowHeight = 28;
const QString exportTitle = u"Export History"_s;

} // namespace

HistoryWindow::HistoryWindow(UploadHistory& history, UploadLedger& ledger, QueueAgain queueAgain)
    : m_history(history)
    , m_ledger(ledger)
    , m_queueAgain(std::move(queueAgain))
    , m_ui(std::make_unique<Ui::HistoryWindow>())
    , m_model(new HistoryTableModel(history, ledger, this))
{
    m_ui->setupUi(this);
    keepButtonsWhole(*this);
    m_ui->historyTable->setModel(m_model);
    m_ui->historyTable->setEmptyText(u"No files yet"_s);
    m_ui->historyTable->verticalHeader()->setDefaultSectionSize(rowHeight);
    setDefaultWidths();
    connectActions();
    m_refresh.setSingleShot(true);
    m_refresh.setInterval(200ms);
    connect(&m_refresh, &QTimer::timeout, this, &HistoryWindow::refresh);
    connect(&history, &UploadHistory::rowsChanged, this, &HistoryWindow::refreshSoon);
    connect(&history, &UploadHistory::rowsAppended, this, &HistoryWindow::refreshSoon);
    connect(&ledger, &UploadLedger::problemFound, this, &HistoryWindow::showPlace);
    connect(&ledger, &UploadLedger::readProblemChanged, this, &HistoryWindow::showPlace);
    m_lookForOthers.setInterval(1s);
    connect(&m_lookForOthers, &QTimer::timeout, &ledger, &UploadLedger::lookForOthers);
    connect(&m_sight, &WindowSight::changed, this, &HistoryWindow::setSeen);
    connect(m_ui->historyTable->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &HistoryWindow::showWhatCanBeDone);
    connect(m_model, &QAbstractItemModel::modelAboutToBeReset, this, &HistoryWindow::keepSelection);
    connect(m_model, &QAbstractItemModel::modelReset, this, &HistoryWindow::restoreSelection);
    connect(m_model, &HistoryTableModel::answered, this, [this] { m_wanted.clear(); }); // What is not there has gone.
}

HistoryWindow::~HistoryWindow() = default;

QHeaderView& HistoryWindow::columns()
{
    return *m_ui->historyTable->horizontalHeader();
}

void HistoryWindow::select(const QList<LedgerKey>& keys)
{
    if (keys.isEmpty()) {
        return;
    }
    m_ui->filterField->clear();
    m_ui->failedOnlyCheckBox->setChecked(false);
    m_filter.stop();
    m_model->setFilter({}, false);
    m_model->refresh();
    m_wanted = QSet<LedgerKey>(keys.begin(), keys.end());
    selectWanted();
}

void HistoryWindow::selectWanted()
{
    if (m_wanted.isEmpty()) {
        return;
    }
    const QList<int> rows = selectRowsOf(m_wanted);
    if (!rows.isEmpty()) {
        m_ui->historyTable->scrollTo(m_model->index(rows.first(), 0));
        m_wanted.clear();
    }
}

/// Selects the rows of @p keys alone, and answers which they are.
QList<int> HistoryWindow::selectRowsOf(const QSet<LedgerKey>& keys)
{
    QList<int> rows;
    QItemSelection selection;
    for (int row = 0; row < m_model->rowCount(); ++row) {
        if (!keys.contains(m_model->key(row))) {
            continue;
        }
        const QModelIndex end = m_model->index(row, m_model->columnCount() - 1);
        if (!rows.isEmpty() && rows.last() == row - 1) {
            selection.last() = QItemSelectionRange(selection.last().topLeft(), end);
        } else {
            selection.append({ m_model->index(row, 0), end });
        }
        rows.append(row);
    }
    m_ui->historyTable->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    return rows;
}

/// The rows are about to be replaced.
void HistoryWindow::keepSelection()
{
    const QList<LedgerKey> keys = keysOf(selectedRows());
    m_selected = QSet<LedgerKey>(keys.begin(), keys.end());
    const TextTable& table = *m_ui->historyTable;
    const QModelIndex current = table.currentIndex();
    m_current = current.isValid() ? std::optional(m_model->key(current.row())) : std::nullopt;
    m_currentColumn = current.column();
    const int top = table.rowAt(0);
    const bool isAtEnd = table.verticalScrollBar()->value() == table.verticalScrollBar()->maximum();
    m_top = top < 0 || isAtEnd ? std::nullopt : std::optional(m_model->key(top));
}

void HistoryWindow::restoreSelection()
{
    selectRowsOf(m_selected);
    int top = m_model->rowCount() - 1;
    for (int row = 0; (m_top || m_current) && row < m_model->rowCount(); ++row) {
        if (m_model->key(row) == m_top) {
            top = row;
        }
        if (m_model->key(row) == m_current) {
            m_ui->historyTable->selectionModel()->setCurrentIndex(m_model->index(row, m_currentColumn),
                                                                  QItemSelectionModel::NoUpdate);
        }
    }
    if (top >= 0) {
        const auto place = m_top ? QAbstractItemView::PositionAtTop : QAbstractItemView::EnsureVisible;
        m_ui->historyTable->scrollTo(m_model->index(top, 0), place);
    }
    m_selected.clear();
    m_top.reset();
    m_current.reset();
    selectWanted();
    showWhatCanBeDone();
}

void HistoryWindow::connectActions()
{
    connect(m_ui->queueAgainButton, &QPushButton::clicked, this, &HistoryWindow::queueAgain);
    connect(m_ui->queueAgainAction, &QAction::triggered, this, &HistoryWindow::queueAgain);
    connect(m_ui->copyHistoryButton, &QPushButton::clicked, this, &HistoryWindow::copy);
    connect(m_ui->copyHistoryAction, &QAction::triggered, this, &HistoryWindow::copy);
    connect(m_ui->copyWebLinkAction, &QAction::triggered, this, &HistoryWindow::copyWebLink);
    connect(m_ui->clearHistoryButton, &QPushButton::clicked, this, &HistoryWindow::clearHistory);
    connect(m_ui->exportHistoryButton, &QPushButton::clicked, this, &HistoryWindow::askWhereToExport);
    connect(&m_chooser, &FileChooser::filesSelected, this,
            [this](const QStringList& paths) { exportTo(paths.first()); });
    m_filter.setSingleShot(true);
    m_filter.setInterval(150ms);
    connect(&m_filter, &QTimer::timeout, this,
            [this] { m_model->setFilter(m_ui->filterField->text(), m_ui->failedOnlyCheckBox->isChecked()); });
    connect(m_ui->filterField, &QLineEdit::textChanged, &m_filter, qOverload<>(&QTimer::start));
    connect(m_ui->failedOnlyCheckBox, &QCheckBox::toggled, &m_filter, qOverload<>(&QTimer::start));
    QHeaderView& header = columns();
    header.setSortIndicator(-1, Qt::AscendingOrder);
    header.setSortIndicatorClearable(true); // The third click has them as they came.
    m_ui->historyTable->setSortingEnabled(true);
    header.moveSection(header.visualIndex(static_cast<int>(Column::Time)), 0);
    m_ui->historyTable->addActions({ m_ui->queueAgainAction, m_ui->copyHistoryAction, m_ui->copyWebLinkAction });
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
    setWidth(Column::Time, shortDateMediumTimeText(QDateTime({ 2028, 12, 28 }, { 22, 58, 58 })));
    setWidth(Column::Reply, QString(20, u'x'));
    setWidth(Column::Copy, QString(12, u'x'));
    QList<int> yielding;
    for (const Column column : { Column::Reply, Column::Size, Column::Copy, Column::Speed, Column::Duration }) {
        yielding.append(static_cast<int>(column));
    }
    new YieldingColumns(*m_ui->historyTable, static_cast<int>(Column::Outcome),
                        columnWidthFor(table, u"Confirmed by the server"_s), yielding);
}

QList<int> HistoryWindow::selectedRows() const
{
    return selectedRowsOf(*m_ui->historyTable);
}

QList<LedgerKey> HistoryWindow::keysOf(const QList<int>& rows) const
{
    QList<LedgerKey> keys;
    keys.reserve(rows.size());
    for (const int row : rows) {
        keys.append(m_model->key(row));
    }
    return keys;
}

/// The next file of this run from @p number on that is shown and was lost; -1 when there is none.
int HistoryWindow::nextShownUnsettled(int number) const
{
    for (; m_history.hasUnsettledRows() && number < m_history.rowCount(); ++number) {
        if (m_model->rowOf(number) >= 0 && m_history.entries().withoutPath(number).isUnsettled()) {
            return number;
        }
    }
    return -1;
}

void HistoryWindow::queueAgain()
{
    QList<LedgerKey> keys = keysOf(selectedRows());
    if (keys.isEmpty()) {
        for (int number = nextShownUnsettled(0); number >= 0; number = nextShownUnsettled(number + 1)) {
            keys.append({ .row = 0, .number = number });
        }
    }
    m_queueAgain(keys);
    refresh();
}

void HistoryWindow::copy()
{
    QList<int> rows = selectedRows();
    if (rows.isEmpty()) {
        rows.resize(m_model->rowCount());
        std::iota(rows.begin(), rows.end(), 0);
    }
    delete m_copying;
    m_copying = new HistoryCopy(m_ledger, keysOf(rows), this);
}

void HistoryWindow::copyWebLink()
{
    m_ledger.read(keysOf(selectedRows()), this, [](const std::optional<QList<LedgerRow>>& known) {
        const UserDefaults::Reading reading(connectionSettings());
        QStringList links;
        for (const LedgerRow& row : known.value_or(QList<LedgerRow>())) {
            links.append(HistoryRows::webLink(row.entry));
        }
        links.removeAll({});
        copyOrBeep(links.join(u'\n'));
    });
}

void HistoryWindow::clearHistory()
{
    SheetQueue::of(*this).raise(
        { .title = u"Clear History?"_s,
          .text = u"All files that have ended are removed from the history, those of every run "
                  "and of all drop icons. What waits stays, and so do interrupted files that another icon, "
                  "or Quillbox itself, has yet to ask about."_s,
          .defaultButton = u"Cancel"_s,
          .alternateButton = u"Clear"_s,
          .onAlternate = [this] { m_ledger.clear(); } });
}

void HistoryWindow::askWhereToExport()
{
    m_chooser.open(
        { .title = exportTitle, .folder = documentsDirectoryPath(), .nameToSave = u"Quillbox history.csv"_s });
}

void HistoryWindow::exportTo(const QString& path)
{
    m_ledger.writeCsv(path, m_model->query(), this, [this, path](bool isWritten) {
        if (!isWritten) {
            SheetQueue::of(*this).raise(
                { .title = exportTitle,
                  .text = u"The history could not be written to “%1”."_s.arg(visibleText(path)) });
        }
    });
}

/// Says where the history is, and for how long.
void HistoryWindow::showPlace()
{
    QString text = u"Kept for this run alone, in memory"_s;
    if (!m_ledger.readProblem().isNull()) {
        text = u"The history cannot be read: %1"_s.arg(m_ledger.readProblem());
    } else if (!m_ledger.problem().isNull()) {
        text = m_ledger.problem().section(u'\n', 0, 0);
    } else if (!m_ledger.path().isNull()) {
        QString path = m_ledger.path();
        if (path.startsWith(QDir::homePath() + u'/')) {
            path.replace(0, QDir::homePath().size(), u"~"_s);
        }
        text = u"Kept for 90 days, at most 100,000 files, in “%1”"_s.arg(visibleText(path));
    }
    m_ui->placeLabel->setText(text);
}

void HistoryWindow::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    m_followed = m_history.currentRow();
    if (const int row = rowOfFollowed(); row >= 0) {
        m_ui->historyTable->scrollTo(m_model->index(row, 0));
    }
    showPlace();
    refresh();
}

/// The model asks for its rows from then on. Others write to the same history, and nobody tells of it.
void HistoryWindow::setSeen(bool isSeen)
{
    m_model->setSeen(isSeen);
    if (isSeen) {
        m_ledger.lookForOthers();
        m_lookForOthers.start();
    } else {
        m_lookForOthers.stop();
    }
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
    const QString summary = HistoryText::summary(m_history.runTally(), m_history.waitingCount());
    m_ui->summaryLabel->setText(summary.isEmpty() ? QString() : u"This run: %1"_s.arg(summary));
    follow();
}

void HistoryWindow::showWhatCanBeDone()
{
    const QList<int> selected = selectedRows();
    const bool canQueue = selected.isEmpty()
        ? nextShownUnsettled(0) >= 0
        : std::any_of(selected.begin(), selected.end(), [this](int row) { return m_model->canQueueAgain(row); });
    const bool hasRows = m_model->rowCount() > 0;
    setEnabledKeepingFocus(*m_ui->queueAgainButton, canQueue, *m_ui->historyTable);
    m_ui->queueAgainAction->setEnabled(canQueue);
    setEnabledKeepingFocus(*m_ui->copyHistoryButton, hasRows, *m_ui->historyTable);
    m_ui->copyHistoryAction->setEnabled(hasRows);
    const UserDefaults::Reading reading(connectionSettings()); // One look for all rows.
    m_ui->copyWebLinkAction->setVisible(hasWebAddress());
    m_ui->copyWebLinkAction->setEnabled(
        m_ui->copyWebLinkAction->isVisible()
        && std::any_of(selected.begin(), selected.end(), [this](int row) { return m_model->hasWebLink(row); }));
    setEnabledKeepingFocus(*m_ui->clearHistoryButton, m_ledger.isOpen(), *m_ui->historyTable);
    setEnabledKeepingFocus(*m_ui->exportHistoryButton, m_ledger.isOpen() && hasRows, *m_ui->historyTable);
}

void HistoryWindow::follow()
{
    const int current = m_history.currentRow();
    if (current < 0 || current == m_followed) {
        return;
    }
    const int before = rowOfFollowed();
    const bool wasSeen = before < 0 || isRowVisible(before);
    m_followed = current;
    if (const int row = rowOfFollowed(); row >= 0 && wasSeen) {
        m_ui->historyTable->scrollTo(m_model->index(row, 0));
    }
}

int HistoryWindow::rowOfFollowed() const
{
    return m_followed < 0 ? -1 : m_model->rowOf(m_followed);
}

bool HistoryWindow::isRowVisible(int row) const
{
    const int top = m_ui->historyTable->rowViewportPosition(row);
    return top + rowHeight > 0 && top < m_ui->historyTable->viewport()->height();
}
