#include "ManualTransfers.h"

#include "Addressing.h"
#include "DestinationSettings.h"
#include "PathText.h"
#include "StandardFolders.h"
#include "ViewController.h"
#include "ui_ManualTransfers.h"

ManualTransfers::ManualTransfers()
    : m_ui(std::make_unique<Ui::ManualTransfers>())
{
    m_ui->setupUi(this);
}

ManualTransfers::~ManualTransfers() = default;

void ManualTransfers::connectTo(ViewController& controller)
{
    const auto on = [&controller](const QPushButton* button, auto slot) {
        QObject::connect(button, &QPushButton::clicked, &controller, slot);
    };
    on(m_ui->startStopUploadButton, &ViewController::startStopUpload);
    on(m_ui->startStopDownloadButton, &ViewController::startStopDownload);
    for (const QPushButton* button : { m_ui->startStopListButton, m_ui->listDestinationButton }) {
        on(button, [&controller, button] { controller.startStopList(button); });
    }
    for (const QPushButton* button : { m_ui->startStopCreateButton, m_ui->createButton }) {
        on(button, [&controller, button] { controller.startStopCreate(button); });
    }
}

QString ManualTransfers::destination() const
{
    return DestinationSettings::fullPath(m_ui->destinationTextField->text());
}

QString ManualTransfers::urlToDownload() const
{
    return DestinationSettings::fullPath(m_ui->fileToDownloadTextField->text());
}

QString ManualTransfers::fileToUpload() const
{
    return PathText::appendingPathComponent(downloadsDirectoryPath(), m_ui->fileToUploadTextField->text());
}

QString ManualTransfers::folderNameToCreate() const
{
    return Addressing::withTrailingSlash(m_ui->folderToCreateTextField->text());
}
