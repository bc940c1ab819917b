#pragma once

#include "Destination.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>

class BrowserHost;
class FTPGetController;

/// Several files that are downloaded one after another. Who drives it asks it to go on whenever nothing is sent or
/// received. Belongs to the main thread.
class DownloadSeries {
public:
    struct File {
        QString name;
        QByteArray rawName; ///< What the server knows it by, where that is no UTF-8.
    };
    /// Starts the download of a file; false: that is not to be, and neither are those behind it.
    using Start = std::function<bool(const File& file)>;

    /// Both outlive the series.
    DownloadSeries(const FTPGetController& downloads, BrowserHost& host)
        : m_downloads(downloads)
        , m_host(host)
    {
    }

    /// Begins a series of @p files with the first of them; @p leftOut items were selected with them and are no plain
    /// files. None is under way.
    void begin(const QList<File>& files, qsizetype leftOut, Start start);
    /// Nothing follows the file that is being downloaded.
    void stop() { m_waiting.clear(); }

    bool isUnderWay() const { return m_total > 0; }
    /// Whether it waits for goOn().
    bool isDue() const;
    /// Starts the next file, or says what has become of all when there is none.
    void goOn();
    /// A download is about to start: whatever becomes of it is not about the file before it.
    void noteEnd();

private:
    void end();

    const FTPGetController& m_downloads;
    BrowserHost& m_host;
    Start m_start;
    QList<File> m_waiting;
    qsizetype m_total = 0; ///< 0: no series is under way.
    qsizetype m_leftOut = 0;
    qsizetype m_arrived = 0;
    bool m_isFileUnderWay = false;
    qsizetype m_arrivalsBefore = 0; ///< Of the controller, when that file was started.
};
