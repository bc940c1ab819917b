// What the stream controllers report.

#include "ViewController.h"

using namespace Qt::StringLiterals;

void ViewController::percentDone(float percent)
{
    m_percent = percent;
    m_auxiliaryPercent = percent;
}

void ViewController::bytesDone(float bytes)
{
    // Kept: the count passes through single precision, so that large ones are shown rounded.
    m_bytes = static_cast<quint64>(bytes);
}

void ViewController::updateStatus(const QString& status)
{
    m_status = status;
    noteUploadStatus(status);
    alertIfError(status);
}

void ViewController::updateListingStatus(const QString& status)
{
    m_listingStatus = status;
    m_isListed = status == u"Listing succeeded"_s;
    if (m_isListed) {
        m_listingSource = { m_listedLocation, m_lc->peerAddress() };
        m_history.listingSucceeded();
    }
    alertIfError(status);
}

void ViewController::alertIfError(const QString& status)
{
    if (status.contains(u"Error"_s)) {
        showAlert(u"Check Settings"_s,
                  u"An error occurred.\n\nPlease check your preference settings for correct FTP server passsword, "
                  "username and folder location."_s);
    }
}

void ViewController::uploadDone()
{
    noteConfirmation();
    m_percent = 0;
    m_bytes.reset();
    if (m_gc->isReceiving()) {
        m_listingWanted = true; // The list cannot be refreshed beside a download, but has to be after it.
    }
    listFTPDestination();
}
