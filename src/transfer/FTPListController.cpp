#include "FTPListController.h"

#include "MacRoman.h"
#include "NetworkManager.h"

#include <algorithm>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// What is said of a listing in which @p line is not understood.
QString unreadText(QByteArrayView line)
{
    return u"a line of the server’s list cannot be read: %1"_s.arg(QString::fromUtf8(line));
}

} // namespace

FTPListController::FTPListController(FTPStreamFactory& streams, LineParser parseLine)
    : m_streams(streams)
    , m_parseLine(std::move(parseLine))
{
}

FTPListController::~FTPListController()
{
    stopReceiveWithStatus(u"Stopped"_s);
}

void FTPListController::setDelegate(WeakRef<FTPListControllerDelegate> delegate)
{
    m_delegate = std::move(delegate);
}

void FTPListController::startReceive(const QString& address, const QString& username, const QString& password)
{
    const bool standsBack = std::exchange(m_standsBack, false); // Also of a start that is ignored.
    if (isReceiving()) {
        return;
    }
    m_hasSucceeded = false;
    m_shortfall.clear();
    const Watch watch(*this);
    updateListingStatus(u"Starting list..."_s);
    if (!watch.isUndisturbed()) {
        return;
    }
    const QString location = NetworkManager::sharedInstance().smartURLForString(address);
    if (location.isNull()) {
        updateListingStatus(u"Invalid URL"_s);
        return;
    }
    m_listData.clear();
    m_measure = {};
    m_searched = 0;
    std::unique_ptr<FTPReadStream> stream = m_streams.createListingStream(location);
    if (stream != nullptr) {
        stream->setStandsBack(standsBack);
    }
    if (startStream(std::move(stream), username, password)) {
        receiveDidStart();
    }
}

void FTPListController::stopReceiveWithStatus(const QString& status)
{
    if (isReceiving() && m_shortfall.isNull()) {
        m_shortfall = networkStream()->shortfall();
        if (const QByteArray rest = m_listData.trimmed(); m_shortfall.isNull() && !rest.isEmpty()) {
            m_shortfall = unreadText(rest); // A line that has not ended.
        }
    }
    closeStream();
    receiveDidStopWithStatus(status);
}

void FTPListController::receiveDidStart()
{
    didStart(u"Started List."_s);
}

void FTPListController::receiveDidStopWithStatus(const QString& status)
{
    m_hasSucceeded = status.isNull();
    didStop(m_hasSucceeded ? u"Listing succeeded"_s : status);
}

ListingEntry FTPListController::entryByReencodingNameInEntry(ListingEntry entry, QStringConverter::Encoding encoding)
{
    const bool isAscii
        = std::all_of(entry.name.cbegin(), entry.name.cend(), [](QChar unit) { return unit.unicode() < 0x80; });
    if (isAscii && encoding == QStringConverter::Utf8) {
        return entry; // Most names are.
    }
    const std::optional<QByteArray> bytes = entry.name.isNull() ? std::nullopt : toMacRoman(entry.name);
    if (bytes) {
        // A byte order mark at the beginning of a name is part of the name.
        QStringDecoder decoder(encoding, QStringConverter::Flag::Stateless | QStringConverter::Flag::ConvertInitialBom);
        QString name = decoder.decode(*bytes);
        if (!decoder.hasError()) {
            entry.name = std::move(name);
        }
    }
    return entry;
}

void FTPListController::handleStreamEvent(FTPStreamEvent event)
{
    switch (event) {
    case FTPStreamEvent::OpenCompleted:
        updateListingStatus(u"Opened connection"_s);
        return;
    case FTPStreamEvent::HasBytesAvailable:
        receiveStep();
        return;
    case FTPStreamEvent::HasSpaceAvailable:
        return;
    case FTPStreamEvent::ErrorOccurred:
        stopReceiveWithStatus(errorStatus(u"Error: Check Settings"_s));
        return;
    case FTPStreamEvent::EndEncountered:
        break;
    }
    // A listing ends by a read of nothing, and by that alone: whatever else comes is said and changes nothing.
    updateListingStatus(u"Error"_s);
}

void FTPListController::receiveStep()
{
    const Watch watch(*this);
    updateListingStatus(u"Receiving"_s);
    if (!watch.isUndisturbed()) {
        return;
    }
    std::array<char, bufferSize> buffer;
    const qint64 count = networkStream()->read(buffer);
    if (count <= 0) {
        stopReceiveWithStatus(count == 0 ? QString() : u"Network read error"_s);
        return;
    }
    m_listData.append(buffer.data(), static_cast<qsizetype>(count));
    parseListData();
}

void FTPListController::parseListData()
{
    if (!holdsWholeLine()) {
        return;
    }
    const QDateTime now = QDateTime::currentDateTime();
    constexpr qsizetype shortLine = 64; // Bytes.
    QList<ListingEntry> entries;
    entries.reserve(m_listData.size() / shortLine);
    qsizetype offset = 0;
    qint64 consumed = 0;
    do {
        ParsedListing parsed = m_parseLine(QByteArrayView(m_listData).sliced(offset), now);
        consumed = parsed.consumed;
        if (consumed > 0 && !m_measure.takes(parsed)) {
            consumed = -1;
        }
        if (consumed > 0) {
            if (parsed.isUnread && m_shortfall.isNull()) {
                const QByteArrayView line = QByteArrayView(m_listData).sliced(offset, consumed).trimmed();
                m_shortfall = parsed.isComplaint ? QString::fromUtf8(line) : unreadText(line);
            }
            offset += static_cast<qsizetype>(consumed);
            if (parsed.entry) {
                entries.append(entryByReencodingNameInEntry(std::move(*parsed.entry), QStringConverter::Utf8));
            }
        }
    } while (consumed > 0);
    m_listData.remove(0, offset);
    m_searched = m_listData.size();

    if (consumed < 0) {
        const Watch watch(*this);
        stopReceiveWithStatus(u"Listing parse failed"_s);
        // What was read before an error is delivered all the same, but not as part of a listing started meanwhile.
        if (!watch.isAlive() || isReceiving()) {
            return;
        }
    }
    if (!entries.isEmpty()) {
        addListEntries(entries);
    }
}

/// Whether there is something to parse: a line end, or more bytes than any line may have. An incomplete line is not
/// searched again from its beginning for each block that continues it.
bool FTPListController::holdsWholeLine()
{
    if (m_listData.indexOf('\n', m_searched) >= 0) {
        return true;
    }
    m_searched = m_listData.size();
    return m_searched > maximumListingLine;
}

void FTPListController::updateListingStatus(const QString& status)
{
    if (FTPListControllerDelegate* delegate = m_delegate.get()) {
        delegate->updateListingStatus(status);
    }
}

void FTPListController::addListEntries(const QList<ListingEntry>& entries)
{
    if (FTPListControllerDelegate* delegate = m_delegate.get()) {
        delegate->addListEntries(entries);
    }
}
