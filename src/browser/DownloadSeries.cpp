#include "DownloadSeries.h"

#include "BrowserHost.h"
#include "FTPGetController.h"

#include <utility>

using namespace Qt::StringLiterals;

void DownloadSeries::begin(const QList<File>& files, qsizetype leftOut, Start start)
{
    m_start = std::move(start);
    m_waiting = files;
    m_total = files.size();
    m_leftOut = leftOut;
    m_arrived = 0;
    goOn();
}

bool DownloadSeries::isDue() const
{
    return isUnderWay() && !m_downloads.isReceiving();
}

void DownloadSeries::goOn()
{
    noteEnd();
    if (m_waiting.isEmpty()) {
        end();
        return;
    }
    m_arrivalsBefore = m_downloads.arrivals();
    if (m_start(m_waiting.takeFirst())) {
        m_isFileUnderWay = true;
    } else {
        end();
    }
}

void DownloadSeries::noteEnd()
{
    if (m_isFileUnderWay && !m_downloads.isReceiving()) {
        m_isFileUnderWay = false;
        m_arrived += m_downloads.arrivals() - m_arrivalsBefore;
    }
}

void DownloadSeries::end()
{
    const auto counted = [](qsizetype count, const QString& one, const QString& more) {
        return u"%1 %2"_s.arg(count).arg(count == 1 ? one : more);
    };
    QString text = u"Downloaded "_s;
    if (m_arrived != m_total) {
        text += u"%1 of "_s.arg(m_arrived);
    }
    text += counted(m_total, u"file"_s, u"files"_s);
    if (m_leftOut > 0) {
        text += u", left out "_s
            + counted(m_leftOut, u"item that is no plain file"_s, u"items that are no plain files"_s);
    }
    m_waiting.clear();
    m_total = 0;
    m_host.itemDone(text);
}
