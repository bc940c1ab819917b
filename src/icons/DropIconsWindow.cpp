#include "DropIconsWindow.h"

#include "FocusKeeping.h"
#include "IconName.h"
#include "IconText.h"
#include "LabelAlignment.h"
#include "PlainToolTip.h"
#include "ScreenRoom.h"
#include "SheetQueue.h"
#include "VisibleText.h"
#include "WholeButtons.h"
#include "ui_DropIconsWindow.h"

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

DropIconsWindow::DropIconsWindow(DropIcons icons, Application application)
    : m_icons(std::move(icons))
    , m_application(std::move(application))
    , m_ui(std::make_unique<Ui::DropIconsWindow>())
{
    m_ui->setupUi(this);
    keepButtonsWhole(*this);
    m_ui->onDesktopCheckBox->setVisible(m_icons.hasDesktop());
    m_model.setHorizontalHeaderLabels({ u"Name"_s, u"Location"_s });
    m_ui->iconsTable->setModel(&m_model);
    m_ui->iconsTable->verticalHeader()->setDefaultSectionSize(rowHeight);
    m_ui->iconsTable->horizontalHeader()->resizeSection(0, columnWidthFor(*m_ui->iconsTable, QString(20, u'x')));
    m_ui->iconsTable->horizontalHeader()->setStretchLastSection(true);
    m_ui->iconsTable->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    m_ui->iconsTable->setEmptyText(emptyText);
    connectActions();
    keepWithinScreen(*this);
    alignLabelsToDirection(*this);
}

DropIconsWindow::~DropIconsWindow() = default;

void DropIconsWindow::connectActions()
{
    connect(m_ui->nameTextField, &QLineEdit::textChanged, this, &DropIconsWindow::explain);
    connect(m_ui->makeIconButton, &QPushButton::clicked, this, &DropIconsWindow::make);
    connect(m_ui->startIconButton, &QPushButton::clicked, this, &DropIconsWindow::start);
    connect(m_ui->startIconAction, &QAction::triggered, this, &DropIconsWindow::start);
    connect(m_ui->iconsTable, &QAbstractItemView::doubleClicked, this, &DropIconsWindow::start);
    connect(m_ui->removeIconButton, &QPushButton::clicked, this, &DropIconsWindow::askWhetherToRemove);
    connect(m_ui->removeIconAction, &QAction::triggered, this, &DropIconsWindow::askWhetherToRemove);
    connect(m_ui->closeIconsButton, &QPushButton::clicked, this, &QWidget::close);
    connect(m_ui->iconsTable->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        m_ui->listMessageLabel->clear();
        showWhatCanBeDone();
    });
    m_ui->iconsTable->addActions({ m_ui->startIconAction, m_ui->removeIconAction });
    connect(new QShortcut(QKeySequence(u"Ctrl+W"_s), this), &QShortcut::activated, this, &QWidget::close);
}

bool DropIconsWindow::event(QEvent* event)
{
    if (event->type() == QEvent::WindowActivate) {
        // Another window, or another program, may have changed icons and settings.
        reload();
        showDestination();
    }
    return QDialog::event(event);
}

void DropIconsWindow::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    if (!event->spontaneous()) {
        m_ui->nameTextField->clear();
        m_ui->nameTextField->setFocus();
        m_ui->onDesktopCheckBox->setChecked(false);
        m_ui->iconsTable->clearSelection();
        m_ui->listMessageLabel->clear();
        reload();
        explain();
    }
}

void DropIconsWindow::make()
{
    const QString name = m_ui->nameTextField->text();
    const bool onDesktop = m_ui->onDesktopCheckBox->isChecked();
    const DropIcons::Outcome outcome = m_icons.make(name, onDesktop);
    reload();
    if (outcome == DropIcons::Outcome::Made) {
        m_ui->nameTextField->clear();
        select(rowOf(name));
    }
    m_ui->nameTextField->setFocus();
    m_ui->explanationLabel->setText(IconText::outcome(outcome, onDesktop, rowOf(name) >= 0));
}

void DropIconsWindow::start()
{
    const DropIcons::Icon icon = m_listed.value(selectedRow());
    const bool isStarted = icon.path.isNull() || m_application.start(icon.path);
    m_ui->listMessageLabel->setText(isStarted ? QString() : IconText::notStarted(icon.name));
}

void DropIconsWindow::askWhetherToRemove()
{
    const QString name = m_listed.value(selectedRow()).name;
    if (!name.isNull()) {
        SheetQueue::of(*this).raise({ .title = u"Remove Copy"_s,
                                      .text = IconText::removalQuestion(name),
                                      .defaultButton = u"Cancel"_s,
                                      .alternateButton = u"Remove"_s,
                                      .onAlternate = [this, name] { remove(name); } });
    }
}

void DropIconsWindow::remove(const QString& name)
{
    const qsizetype row = rowOf(name);
    m_icons.remove(name);
    reload();
    if (rowOf(name) >= 0) {
        m_ui->listMessageLabel->setText(IconText::notRemoved(name));
    } else {
        select(std::min(row, m_listed.size() - 1));
    }
}

void DropIconsWindow::reload()
{
    const QList<DropIcons::Icon> icons = m_icons.icons();
    if (icons == m_listed) {
        return;
    }
    const QString selected = m_listed.value(selectedRow()).name;
    m_listed = icons;
    m_model.setRowCount(0);
    for (const DropIcons::Icon& icon : icons) {
        QList<QStandardItem*> row; // The model takes them over.
        for (const QString& text : { icon.name, IconText::location(icon.path) }) {
            row.append(new QStandardItem(visibleText(text)));
            row.last()->setToolTip(plainToolTip(row.last()->text()));
        }
        m_model.appendRow(row);
    }
    m_ui->iconsTable->setEmptyText(icons.isEmpty() ? emptyText : QString());
    select(rowOf(selected));
    showWhatCanBeDone();
}

void DropIconsWindow::explain()
{
    const QString name = m_ui->nameTextField->text();
    m_ui->explanationLabel->setText(IconText::explanation(name));
    showDestination();
    m_ui->makeIconButton->setEnabled(IconName::canBeMade(IconName::judge(name)));
}

void DropIconsWindow::showDestination()
{
    const QString name = m_ui->nameTextField->text();
    const bool canBeMade = IconName::canBeMade(IconName::judge(name));
    m_ui->destinationLabel->setVisible(canBeMade);
    if (!canBeMade) {
        return;
    }
    const QString destination = m_application.destinationFor(IconName::fileName(name));
    m_ui->destinationLabel->setText(destination.isNull() ? u"No server yet: enter one in the preferences"_s
                                                         : u"Files go to %1"_s.arg(destination));
}

void DropIconsWindow::showWhatCanBeDone()
{
    const bool isSelected = selectedRow() >= 0;
    setEnabledKeepingFocus(*m_ui->startIconButton, isSelected, *m_ui->iconsTable);
    setEnabledKeepingFocus(*m_ui->removeIconButton, isSelected, *m_ui->iconsTable);
    m_ui->startIconAction->setEnabled(isSelected);
    m_ui->removeIconAction->setEnabled(isSelected);
}

void DropIconsWindow::select(qsizetype row)
{
    if (row >= 0) {
        m_ui->iconsTable->selectRow(static_cast<int>(row));
    }
}

qsizetype DropIconsWindow::rowOf(const QString& name) const
{
    const auto found = std::ranges::find(m_listed, name, &DropIcons::Icon::name);
    return found == m_listed.cend() ? -1 : found - m_listed.cbegin();
}

int DropIconsWindow::selectedRow() const
{
    const QModelIndexList rows = m_ui->iconsTable->selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}
