#include "DropIconsWindow.h"

#include "DateText.h"
#include "FocusKeeping.h"
#include "IconDestination.h"
#include "IconText.h"
#include "LabelAlignment.h"
#include "PlainToolTip.h"
#include "ScreenRoom.h"
#include "SheetQueue.h"
#include "URLText.h"
#include "VisibleText.h"
#include "WholeButtons.h"
#include "ui_DropIconsWindow.h"

#include <QEvent>
#include <QHeaderView>
#include <QHideEvent>
#include <QItemSelectionModel>
#include <QShortcut>
#include <QShowEvent>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int rowHeight = 32;
constexpr std::chrono::minutes betweenReadings(1);
constexpr int lastUploadColumn = 2;
const QString emptyText = u"No drop icons yet"_s;

} // namespace

DropIconsWindow::DropIconsWindow(DropIcons icons, Application application)
    : m_icons(std::move(icons))
    , m_application(std::move(application))
    , m_ui(std::make_unique<Ui::DropIconsWindow>())
{
    m_ui->setupUi(this);
    keepButtonsWhole(*this);
    m_model.setHorizontalHeaderLabels({ u"Name"_s, u"Destination"_s, u"Last Upload"_s });
    m_model.horizontalHeaderItem(lastUploadColumn)
        ->setToolTip(
            u"When an icon of this name last had a file confirmed at this destination, as far as the history tells"_s);
    TextTable& table = *m_ui->iconsTable;
    table.setModel(&m_model);
    table.verticalHeader()->setDefaultSectionSize(rowHeight);
    QHeaderView& header = *table.horizontalHeader();
    header.setStretchLastSection(false);
    header.resizeSection(0, columnWidthFor(table, QString(16, u'x')));
    header.setSectionResizeMode(1, QHeaderView::Stretch);
    header.resizeSection(lastUploadColumn,
                         columnWidthFor(table, shortDateShortTimeText(QDateTime({ 2028, 10, 28 }, { 20, 58 }))));
    header.setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    table.setEmptyText(emptyText);
    m_reading.setInterval(betweenReadings);
    connect(&m_reading, &QTimer::timeout, this, &DropIconsWindow::reload);
    connectActions();
    keepWithinScreen(*this);
    alignLabelsToDirection(*this);
}

DropIconsWindow::~DropIconsWindow() = default;

void DropIconsWindow::connectActions()
{
    connect(m_ui->newIconButton, &QPushButton::clicked, this, [this] { showForm(std::nullopt); });
    connect(m_ui->editIconButton, &QPushButton::clicked, this, &DropIconsWindow::edit);
    connect(m_ui->editIconAction, &QAction::triggered, this, &DropIconsWindow::edit);
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
    m_ui->startIconAction->setShortcuts({ QKeySequence(Qt::Key_Return), QKeySequence(Qt::Key_Enter) });
    m_ui->iconsTable->addActions({ m_ui->startIconAction, m_ui->editIconAction, m_ui->removeIconAction });
    connect(new QShortcut(QKeySequence(u"Ctrl+W"_s), this), &QShortcut::activated, this, &QWidget::close);
}

bool DropIconsWindow::event(QEvent* event)
{
    if (event->type() == QEvent::WindowActivate) {
        reload(); // Another window, or another program, may have changed icons and settings.
    }
    return QDialog::event(event);
}

void DropIconsWindow::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    m_reading.start();
    if (!event->spontaneous()) {
        m_ui->iconsTable->clearSelection();
        m_ui->listMessageLabel->clear();
        m_ui->iconsTable->setFocus();
        reload();
    }
}

void DropIconsWindow::hideEvent(QHideEvent* event)
{
    QDialog::hideEvent(event);
    m_reading.stop();
}

void DropIconsWindow::showForm(const std::optional<DropIcons::Icon>& icon)
{
    auto* const form = new DropIconForm(m_icons, m_application.forms, icon, this);
    form->setAttribute(Qt::WA_DeleteOnClose);
    connect(form, &DropIconForm::stored, this, [this](const QString& name, bool isNew, bool onDesktop) {
        reload();
        select(rowOf(name));
        m_ui->listMessageLabel->setText(isNew ? IconText::made(onDesktop) : QString());
    });
    form->show();
}

void DropIconsWindow::edit()
{
    if (const std::optional<DropIcons::Icon> icon = selectedIcon()) {
        showForm(icon);
    }
}

void DropIconsWindow::start()
{
    if (const std::optional<DropIcons::Icon> icon = selectedIcon()) {
        const bool isStarted = m_application.start(DropIcons::command(*icon));
        m_ui->listMessageLabel->setText(isStarted ? QString() : IconText::notStarted(icon->name));
    }
}

void DropIconsWindow::askWhetherToRemove()
{
    const std::optional<DropIcons::Icon> icon = selectedIcon();
    if (!icon) {
        return;
    }
    const auto ask = [this, icon](std::optional<bool> isRunning) {
        SheetQueue::of(*this).raise({ .title = u"Remove Drop Icon"_s,
                                      .text = IconText::removalQuestion(*icon, isRunning),
                                      .defaultButton = u"Cancel"_s,
                                      .alternateButton = u"Remove"_s,
                                      .onAlternate = [this, icon] { remove(*icon); } });
    };
    m_application.forms.askWhetherRuns(IconName::fileName(icon->name), this, ask);
}

void DropIconsWindow::remove(const DropIcons::Icon& icon)
{
    const qsizetype row = rowOf(icon.name);
    m_icons.remove(icon);
    reload();
    if (rowOf(icon.name) >= 0) {
        m_ui->listMessageLabel->setText(IconText::notRemoved(icon.name));
    } else {
        select(std::min(row, m_listed.size() - 1));
    }
}

void DropIconsWindow::reload()
{
    m_application.askForLastUploads(this, [this](const LastUploads& known) {
        m_hasAskedForUploads = true;
        m_lastUploads = known;
        showLastUploads();
    });
    QList<Row> rows;
    for (const DropIcons::Icon& icon : m_icons.icons()) {
        const QString destination = destinationOf(icon);
        rows.append({ .icon = icon,
                      .destination = destination,
                      .whyNowhere = destination.isNull() ? whyNowhere(icon) : QString() });
    }
    if (rows == m_listed) {
        return;
    }
    const std::optional<DropIcons::Icon> selected = selectedIcon();
    m_listed = rows;
    m_model.setRowCount(0);
    const double ratio = devicePixelRatioF();
    const int edge = static_cast<int>(std::lround(m_ui->iconsTable->iconSize().width() * ratio));
    for (const auto& [icon, destination, why] : m_listed) {
        QList<QStandardItem*> items; // The model takes them over.
        const QString whereto = destination.isNull() ? u"Nowhere: %1"_s.arg(why) : URLText::readable(destination);
        for (const QString& text : { icon.name, whereto, QString() }) {
            items.append(new QStandardItem(visibleText(text)));
            items.last()->setToolTip(plainToolTip(items.last()->text()));
        }
        QPixmap picture = QPixmap::fromImage(drawn(icon.picture, edge));
        picture.setDevicePixelRatio(ratio);
        QIcon shown(picture);
        shown.addPixmap(picture, QIcon::Selected); // With its colours, also in the selected row.
        items.first()->setIcon(shown);
        m_model.appendRow(items);
    }
    showLastUploads();
    m_ui->iconsTable->setEmptyText(m_listed.isEmpty() ? emptyText : QString());
    select(selected ? rowOf(selected->name) : -1);
    showWhatCanBeDone();
}

void DropIconsWindow::showLastUploads()
{
    for (int row = 0; row < m_model.rowCount(); ++row) {
        m_model.item(row, lastUploadColumn)->setText(lastUploadText(m_listed[row]));
    }
}

QString DropIconsWindow::lastUploadText(const Row& row) const
{
    if (!m_hasAskedForUploads) {
        return {};
    }
    if (!m_lastUploads) {
        return u"Not known"_s; // The history cannot be read.
    }
    const auto found = m_lastUploads->constFind({ IconName::fileName(row.icon.name), row.destination });
    return found == m_lastUploads->cend() ? u"None known"_s
                                          : shortDateShortTimeText(QDateTime::fromMSecsSinceEpoch(*found));
}

void DropIconsWindow::showWhatCanBeDone()
{
    const bool isSelected = selectedRow() >= 0;
    for (QPushButton* button : { m_ui->editIconButton, m_ui->startIconButton, m_ui->removeIconButton }) {
        setEnabledKeepingFocus(*button, isSelected, *m_ui->iconsTable);
    }
    for (QAction* action : { m_ui->editIconAction, m_ui->startIconAction, m_ui->removeIconAction }) {
        action->setEnabled(isSelected);
    }
}

void DropIconsWindow::select(qsizetype row)
{
    if (row >= 0) {
        // Not by selectRow(), which finds no row where one reads from right to left and the columns fill the table.
        m_ui->iconsTable->selectionModel()->setCurrentIndex(
            m_model.index(static_cast<int>(row), 0), QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    }
}

qsizetype DropIconsWindow::rowOf(const QString& name) const
{
    const auto found = std::ranges::find(m_listed, name, [](const Row& row) { return row.icon.name; });
    return found == m_listed.cend() ? -1 : found - m_listed.cbegin();
}

int DropIconsWindow::selectedRow() const
{
    const QModelIndexList rows = m_ui->iconsTable->selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}

std::optional<DropIcons::Icon> DropIconsWindow::selectedIcon() const
{
    const int row = selectedRow();
    return row < 0 ? std::nullopt : std::optional(m_listed[row].icon);
}
