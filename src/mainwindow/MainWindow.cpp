#include "MainWindow.h"

#include "ui_MainWindow.h"

MainWindow::MainWindow()
    : m_ui(std::make_unique<Ui::MainWindow>())
{
    m_ui->setupUi(this);
    m_ui->destinationListingTable->setFocus();
    // They come and go, and nothing is to jump.
    for (QWidget* control :
         { static_cast<QWidget*>(m_ui->totalProgressIndicator), static_cast<QWidget*>(m_ui->percentProgressIndicator),
           static_cast<QWidget*>(m_ui->bytesFormattedTextField) }) {
        QSizePolicy policy = control->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        control->setSizePolicy(policy);
    }
}

MainWindow::~MainWindow() = default;
