#include "ManualTransfers.h"

#include "Addressing.h"
#include "DestinationSettings.h"
#include "LabelAlignment.h"
#include "PathText.h"
#include "ScreenRoom.h"
#include "StandardFolders.h"
#include "ViewController.h"
#include "WholeButtons.h"
#include "ui_ManualTransfers.h"

#include <QShortcut>

#include <algorithm>

using namespace Qt::StringLiterals;

ManualTransfers::ManualTransfers()
    : m_ui(std::make_unique<Ui::ManualTransfers>())
{
    m_ui->setupUi(this);
    keepButtonsWhole(*this);
    // It comes and goes with the transfers, and nothing is to jump.
    QSizePolicy policy = m_ui->auxiliaryPercentProgressIndicator->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    m_ui->auxiliaryPercentProgressIndicator->setSizePolicy(policy);
    // As wide as what they say while they are empty, as far as there is room.
    int wanted = 0;
    for (const QLineEdit* field : findChildren<QLineEdit*>()) {
        wanted = std::max(wanted, fontMetrics().horizontalAdvance(field->placeholderText()) + fontMetrics().height());
    }
    setFieldWidth(wanted);
    setFieldWidth(wanted - excessWidth(*this));
    if (excessWidth(*this) > 0) {
        foldLines();
    }
    resizeToContents(*this);
    alignLabelsToDirection(*this);
    connect(new QShortcut(Qt::Key_Escape, this), &QShortcut::activated, this, &QWidget::close);
}

ManualTransfers::~ManualTransfers() = default;

void ManualTransfers::setFieldWidth(int width)
{
    constexpr int leastCharacters = 12;
    m_ui->fileToUploadTextField->setMinimumWidth(std::max(width, leastCharacters * fontMetrics().averageCharWidth()));
    contentsChanged();
}

/// Else the layouts have the sizes from before in mind.
void ManualTransfers::contentsChanged()
{
    m_ui->manualLayout->activate();
    m_ui->manualArea->updateGeometry();
}

/// Puts the buttons of each line below its field, at its end.
void ManualTransfers::foldLines()
{
    QGridLayout& grid = *m_ui->fieldGrid;
    for (int line = grid.rowCount() - 1; line >= 0; --line) {
        const auto move = [&grid, line](int column, int newRow, int newColumn, int columns, Qt::Alignment alignment) {
            if (QLayoutItem* const item = grid.itemAtPosition(line, column)) {
                grid.removeItem(item);
                grid.addItem(item, newRow, newColumn, 1, columns, alignment);
            }
        };
        const bool hasTwo = grid.itemAtPosition(line, 3) != nullptr;
        move(3, 2 * line + 1, 2, 1, {});
        move(2, 2 * line + 1, 0, hasTwo ? 2 : 3, Qt::AlignTrailing);
        move(1, 2 * line, 1, 2, {});
        move(0, 2 * line, 0, 1, {});
    }
    contentsChanged();
}

void ManualTransfers::connectTo(ViewController& controller, const Parts& parts)
{
    m_controller = &controller;
    m_parts.emplace(parts);
    const auto on
        = [this](const QPushButton* button, auto slot) { QObject::connect(button, &QPushButton::clicked, this, slot); };
    on(m_ui->startStopUploadButton, &ManualTransfers::startStopUpload);
    on(m_ui->startStopDownloadButton, &ManualTransfers::startStopDownload);
    for (const QPushButton* button : { m_ui->startStopListButton, m_ui->listDestinationButton }) {
        on(button, [this, button] { startStopList(button); });
    }
    for (const QPushButton* button : { m_ui->startStopCreateButton, m_ui->createButton }) {
        on(button, [this, button] { startStopCreate(button); });
    }
}

QString ManualTransfers::destination() const
{
    return DestinationSettings::createFullPathFromFTPRootRelativePath(m_ui->destinationTextField->text());
}

QString ManualTransfers::urlToDownload() const
{
    return DestinationSettings::createFullPathFromFTPRootRelativePath(m_ui->fileToDownloadTextField->text());
}

QString ManualTransfers::fileToUpload() const
{
    return PathText::appendingPathComponent(downloadsDirectoryPath(), m_ui->fileToUploadTextField->text());
}

QString ManualTransfers::folderNameToCreate() const
{
    return Addressing::withTrailingSlash(m_ui->folderToCreateTextField->text());
}

/// What every start begins with.
void ManualTransfers::begin()
{
    m_controller->connectionRequested();
    m_parts->indicators.resetAllProgress();
}

void ManualTransfers::startStopUpload()
{
    if (m_parts->uploads.isSending()) {
        m_parts->run.stop();
        return;
    }
    begin();
    Destination folder = DestinationSettings::destination();
    folder.location = destination();
    m_parts->run.startManually(fileToUpload(), folder);
    m_parts->indicators.transferStarted(m_parts->uploads, m_parts->uploads.isSending());
}

void ManualTransfers::startStopDownload()
{
    FTPGetController& downloads = m_parts->downloads;
    if (downloads.isReceiving()) {
        downloads.stopReceiveWithStatus(u"Download Stopped"_s);
        return;
    }
    begin();
    downloads.startReceive(urlToDownload(), DestinationSettings::username(), DestinationSettings::password(),
                           QString());
    m_parts->indicators.transferStarted(downloads, downloads.isReceiving());
}

void ManualTransfers::startStopList(const QObject* sender)
{
    if (m_controller->alertSendingOrReceiving()) {
        return;
    }
    if (m_parts->listing.isListing()) {
        m_parts->listing.stop();
        return;
    }
    begin();
    Destination folder = DestinationSettings::destination();
    m_parts->listing.setDestination(
        folder); // Or the next tick would take this listing for one of the former destination.
    if (sender == m_ui->startStopListButton) {
        folder.location = destination();
    }
    m_parts->listings.setAsksNobody(false);
    m_parts->listing.listFolder(folder);
    m_parts->indicators.listingStarted(m_parts->listings, m_parts->listings.isReceiving());
}

void ManualTransfers::startStopCreate(const QObject* sender)
{
    if (m_controller->alertSendingOrReceiving()) {
        return;
    }
    QString name = folderNameToCreate();
    QString folder = destination();
    if (sender == m_ui->createButton) {
        folder = DestinationSettings::createFullDestinationPathFromAppNameAndFTPFolder();
        name = m_controller->askInput(u"Enter name of folder to create."_s, u""_s);
        if (name.isEmpty()) {
            return;
        }
    }
    FTPCreateController& creations = m_parts->creations;
    // Kept: the question comes before this test, so a press while a creation runs asks and then stops it.
    if (creations.isCreating()) {
        creations.stopCreateWithStatus(u"Create Stopped"_s);
        return;
    }
    begin();
    creations.startCreate(name, folder, DestinationSettings::username(), DestinationSettings::password());
    m_parts->indicators.transferStarted(creations, creations.isCreating());
}
