#include "CopiesWindow.h"

#include "CopyText.h"
#include "FocusKeeping.h"
#include "LabelAlignment.h"
#include "PlainToolTip.h"
#include "ScreenRoom.h"
#include "SheetQueue.h"
#include "VisibleText.h"
#include "WholeButtons.h"
#include "ui_CopiesWindow.h"

#include <QEvent>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QShortcut>
#include <QShowEvent>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int rowHeight = 28;
const QString emptyText = u"No copies yet"_s;

} // namespace

CopiesWindow::CopiesWindow(ProgramCopies copies, Application application)
    : m_copies(std::move(copies))
    , m_application(std::move(application))
    , m_ui(std::make_unique<Ui::CopiesWindow>())
{
    m_ui->setupUi(this);
    keepButtonsWhole(*this);
    m_ui->onDesktopCheckBox->setVisible(m_copies.hasDesktop());
    m_model.setHorizontalHeaderLabels({ u"Name"_s, u"Location"_s });
    m_ui->copiesTable->setModel(&m_model);
    m_ui->copiesTable->verticalHeader()->setDefaultSectionSize(rowHeight);
    m_ui->copiesTable->horizontalHeader()->resizeSection(0, columnWidthFor(*m_ui->copiesTable, QString(20, u'x')));
    m_ui->copiesTable->horizontalHeader()->setStretchLastSection(true);
    m_ui->copiesTable->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    m_ui->copiesTable->setEmptyText(emptyText);
    connectActions();
    keepWithinScreen(*this);
    alignLabelsToDirection(*this);
}

CopiesWindow::~CopiesWindow() = default;

void CopiesWindow::connectActions()
{
    connect(m_ui->nameTextField, &QLineEdit::textChanged, this, &CopiesWindow::explain);
    connect(m_ui->makeCopyButton, &QPushButton::clicked, this, &CopiesWindow::make);
    connect(m_ui->startCopyButton, &QPushButton::clicked, this, &CopiesWindow::start);
    connect(m_ui->startCopyAction, &QAction::triggered, this, &CopiesWindow::start);
    connect(m_ui->copiesTable, &QAbstractItemView::doubleClicked, this, &CopiesWindow::start);
    connect(m_ui->removeCopyButton, &QPushButton::clicked, this, &CopiesWindow::askWhetherToRemove);
    connect(m_ui->removeCopyAction, &QAction::triggered, this, &CopiesWindow::askWhetherToRemove);
    connect(m_ui->closeCopiesButton, &QPushButton::clicked, this, &QWidget::close);
    connect(m_ui->copiesTable->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        m_ui->listMessageLabel->clear();
        showWhatCanBeDone();
    });
    m_ui->copiesTable->addActions({ m_ui->startCopyAction, m_ui->removeCopyAction });
    connect(new QShortcut(QKeySequence(u"Ctrl+W"_s), this), &QShortcut::activated, this, &QWidget::close);
}

bool CopiesWindow::event(QEvent* event)
{
    if (event->type() == QEvent::WindowActivate) {
        // Another window, or another program, may have changed copies and settings.
        reload();
        showDestination();
    }
    return QDialog::event(event);
}

void CopiesWindow::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    if (!event->spontaneous()) {
        m_ui->nameTextField->clear();
        m_ui->nameTextField->setFocus();
        m_ui->onDesktopCheckBox->setChecked(false);
        m_ui->copiesTable->clearSelection();
        m_ui->listMessageLabel->clear();
        reload();
        explain();
    }
}

void CopiesWindow::make()
{
    const QString name = m_ui->nameTextField->text();
    const bool onDesktop = m_ui->onDesktopCheckBox->isChecked();
    const ProgramCopies::Outcome outcome = m_copies.make(name, onDesktop);
    reload();
    if (outcome == ProgramCopies::Outcome::Made) {
        m_ui->nameTextField->clear();
        select(rowOf(name));
    }
    m_ui->nameTextField->setFocus();
    m_ui->explanationLabel->setText(CopyText::outcome(outcome, onDesktop, rowOf(name) >= 0));
}

void CopiesWindow::start()
{
    const ProgramCopies::Copy copy = m_listed.value(selectedRow());
    const bool isStarted = copy.path.isNull() || m_application.start(copy.path);
    m_ui->listMessageLabel->setText(isStarted ? QString() : CopyText::notStarted(copy.name));
}

void CopiesWindow::askWhetherToRemove()
{
    const QString name = m_listed.value(selectedRow()).name;
    if (!name.isNull()) {
        SheetQueue::of(*this).raise({ .title = u"Remove Copy"_s,
                                      .text = CopyText::removalQuestion(name),
                                      .defaultButton = u"Cancel"_s,
                                      .alternateButton = u"Remove"_s,
                                      .onAlternate = [this, name] { remove(name); } });
    }
}

void CopiesWindow::remove(const QString& name)
{
    const qsizetype row = rowOf(name);
    m_copies.remove(name);
    reload();
    if (rowOf(name) >= 0) {
        m_ui->listMessageLabel->setText(CopyText::notRemoved(name));
    } else {
        select(std::min(row, m_listed.size() - 1));
    }
}

void CopiesWindow::reload()
{
    const QList<ProgramCopies::Copy> copies = m_copies.copies();
    if (copies == m_listed) {
        return;
    }
    const QString selected = m_listed.value(selectedRow()).name;
    m_listed = copies;
    m_model.setRowCount(0);
    for (const ProgramCopies::Copy& copy : copies) {
        QList<QStandardItem*> row; // The model takes them over.
        for (const QString& text : { copy.name, CopyText::location(copy.path) }) {
            row.append(new QStandardItem(visibleText(text)));
            row.last()->setToolTip(plainToolTip(row.last()->text()));
        }
        m_model.appendRow(row);
    }
    m_ui->copiesTable->setEmptyText(copies.isEmpty() ? emptyText : QString());
    select(rowOf(selected));
    showWhatCanBeDone();
}

void CopiesWindow::explain()
{
    const QString name = m_ui->nameTextField->text();
    m_ui->explanationLabel->setText(CopyText::explanation(name));
    showDestination();
    m_ui->makeCopyButton->setEnabled(ProgramCopies::canBeMade(ProgramCopies::judge(name)));
}

void CopiesWindow::showDestination()
{
    const QString name = m_ui->nameTextField->text();
    const bool canBeMade = ProgramCopies::canBeMade(ProgramCopies::judge(name));
    m_ui->destinationLabel->setVisible(canBeMade);
    if (!canBeMade) {
        return;
    }
    const QString destination = m_application.destinationFor(ProgramCopies::fileName(name));
    m_ui->destinationLabel->setText(destination.isNull() ? u"No server yet: enter one in the preferences"_s
                                                         : u"Files go to %1"_s.arg(destination));
}

void CopiesWindow::showWhatCanBeDone()
{
    const bool isSelected = selectedRow() >= 0;
    setEnabledKeepingFocus(*m_ui->startCopyButton, isSelected, *m_ui->copiesTable);
    setEnabledKeepingFocus(*m_ui->removeCopyButton, isSelected, *m_ui->copiesTable);
    m_ui->startCopyAction->setEnabled(isSelected);
    m_ui->removeCopyAction->setEnabled(isSelected);
}

void CopiesWindow::select(qsizetype row)
{
    if (row >= 0) {
        m_ui->copiesTable->selectRow(static_cast<int>(row));
    }
}

qsizetype CopiesWindow::rowOf(const QString& name) const
{
    const auto found = std::ranges::find(m_listed, name, &ProgramCopies::Copy::name);
    return found == m_listed.cend() ? -1 : found - m_listed.cbegin();
}

int CopiesWindow::selectedRow() const
{
    const QModelIndexList rows = m_ui->copiesTable->selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}
