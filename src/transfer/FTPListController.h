#pragma once

#include "ListingParser.h"
#include "StreamController.h"

#include <QByteArray>
#include <QList>
#include <QStringConverter>

#include <functional>

/// Receives the reports of one FTPListController, on the thread that started the listing.
class FTPListControllerDelegate {
public:
    /// What the listing is doing, or how it has ended: only this text reports success and failure.
    virtual void updateListingStatus(const QString& status) = 0;
    /// The items of one received block, in the server's order; never empty.
    virtual void addListEntries(const QList<ListingEntry>& entries) = 0;

protected:
    ~FTPListControllerDelegate() = default;
};

/// Lists one folder on an FTP server, block by block, driven by stream events on the thread that starts it, which is
/// the main thread.
class FTPListController final : public StreamController<FTPReadStream> {
public:
    /// Reads the first line of a listing, as parseListingLine() does.
    using LineParser = std::function<ParsedListing(QByteArrayView bytes, const QDateTime& now)>;

    static constexpr size_t bufferSize = 32768;

    /// @p streams makes the network streams and outlives the controller.
    explicit FTPListController(FTPStreamFactory& streams, LineParser parseLine = parseListingLine);
    ~FTPListController() override; ///< Stops with the status "Stopped".

    WeakRef<FTPListControllerDelegate> delegate() const { return m_delegate; }
    void setDelegate(WeakRef<FTPListControllerDelegate> delegate);

    /// Whether the next listing that starts leaves the only kept connection to the transfers that follow
    /// (FTPReadStream::setStandsBack()); none after it does.
    void setStandsBack(bool standsBack) { m_standsBack = standsBack; }

    /// Starts to list the folder at @p address; ignored while a listing runs. Without both user name and password (null
    /// or empty) the login is anonymous.
    void startReceive(const QString& address, const QString& username, const QString& password);
    /// Ends the listing and reports @p status; null means that it is complete.
    void stopReceiveWithStatus(const QString& status);

    bool isReceiving() const { return networkStream() != nullptr; }
    /// Whether the last listing is all that the folder holds: the server has confirmed its end, and said nothing of
    /// what it leaves out, and all of it was understood. It is known before the status of the end is reported, which
    /// tells of the confirmation alone.
    bool isWhole() const { return m_hasSucceeded && m_shortfall.isNull(); }
    /// Why it is not, when it has ended with @p status, for people.
    QString whyNotWhole(const QString& status) const { return m_hasSucceeded ? m_shortfall : failure(status); }

    /// What has been received of lines that are not complete. Stays after the end; the next start empties it.
    const QByteArray& listData() const { return m_listData; }

    /// Kept for its users; the controller neither sets nor reads it.
    const QString& status() const { return m_status; }
    void setStatus(const QString& status) { m_status = status; }

    /// @p entry with its name, which was read as Mac OS Roman, read in @p encoding instead; unchanged when it has no
    /// name, or its name cannot be read so.
    static ListingEntry entryByReencodingNameInEntry(ListingEntry entry, QStringConverter::Encoding encoding);

private:
    void handleStreamEvent(FTPStreamEvent event) override;
    void reportStatus(const QString& status) override { updateListingStatus(status); }
    void stopWithStatus(const QString& status) override { stopReceiveWithStatus(status); }

    void receiveDidStart();
    void receiveDidStopWithStatus(const QString& status);
    void receiveStep();
    void parseListData();
    bool holdsWholeLine();
    void updateListingStatus(const QString& status);
    void addListEntries(const QList<ListingEntry>& entries);

    FTPStreamFactory& m_streams;
    LineParser m_parseLine;
    WeakRef<FTPListControllerDelegate> m_delegate;
    bool m_standsBack = false;
    QByteArray m_listData;
    ListingMeasure m_measure; ///< Of this listing.
    qsizetype m_searched = 0; ///< So many bytes at the beginning of m_listData are known to hold no line end.
    QString m_status;
    bool m_hasSucceeded = false;
    QString m_shortfall; ///< What the server has said first of what the listing leaves out; null: nothing.
};
