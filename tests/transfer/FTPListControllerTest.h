#pragma once

#include "FTPListController.h"
#include "TransferTest.h"

#include <memory>
#include <utility>

/// Notes each batch of entries as "entries NAME|NAME".
class ListDelegate final : public RecordingDelegate, public FTPListControllerDelegate {
public:
    void updateListingStatus(const QString& status) override { note(status); }
    void addListEntries(const QList<ListingEntry>& entries) override
    {
        QStringList names;
        for (const ListingEntry& entry : entries) {
            names.append(entry.name);
        }
        m_names += names;
        note(QStringLiteral("entries ") + names.join(u'|'));
    }

    /// The names of all entries so far.
    const QStringList& names() const { return m_names; }
    WeakRef<ListDelegate> ref() { return m_anchor.ref(this); }

private:
    QStringList m_names;
    WeakAnchor m_anchor;
};

/// A listing line with @p name as its name.
inline QByteArray line(const QByteArray& name)
{
    return "-rw-r--r--   1 owner   group   1234 Jan 12 2024 " + name + "\r\n";
}

/// Reads lines as they are, but takes one that begins with "bad" for the end of what can be read.
inline ParsedListing parseUpToBadLine(QByteArrayView bytes, const QDateTime& now)
{
    return bytes.startsWith("bad") ? ParsedListing{ .consumed = -1, .entry = {} } : parseListingLine(bytes, now);
}

/// A listing controller, the delegate that it reports to, and the streams that it asks for.
class FTPListControllerTest : public TransferTest {
protected:
    FTPListControllerTest() { m_controller->setDelegate(m_delegate->ref()); }

    void start()
    {
        m_controller->startReceive(QStringLiteral("ftp://host/dir/"), QStringLiteral("me"), QStringLiteral("secret"));
    }

    void startReceiving()
    {
        start();
        m_streams.last().sendOpenCompleted();
        m_delegate->calls.clear();
    }

    void replaceController(FTPListController::LineParser parser)
    {
        m_controller = std::make_unique<FTPListController>(m_streams, std::move(parser));
        m_controller->setDelegate(m_delegate->ref());
        m_delegate->calls.clear();
        NetworkManager::sharedInstance().setNetworkOperationCount(baseCount);
    }

    std::unique_ptr<ListDelegate> m_delegate = std::make_unique<ListDelegate>();
    std::unique_ptr<FTPListController> m_controller = std::make_unique<FTPListController>(m_streams);
};
