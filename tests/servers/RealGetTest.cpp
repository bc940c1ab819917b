#include "FTPGetController.h"
#include "RealServerTest.h"
#include "UserDefaults.h"

#include <QDir>
#include <QStandardPaths>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

class GetDelegate final : public StatusRecorder, public FTPGetControllerDelegate {
public:
    float percent = 0;
    std::function<void(float bytes)> onBytes;

    void percentDone(float done) override { percent = done; }
    void bytesDone(float bytes) override
    {
        if (onBytes) {
            onBytes(bytes);
        }
    }
    void updateStatus(const QString& status) override { note(status); }

    WeakRef<GetDelegate> ref() { return m_anchor.ref(this); }

private:
    WeakAnchor m_anchor;
};

class RealGetTest : public RealServerTest {
protected:
    RealGetTest() { m_controller.setDelegate(m_delegate.ref()); }

    /// Downloads the file @p name from the server to the local path @p file and answers the status texts.
    QStringList download(const QString& name, const QString& file)
    {
        m_delegate.statuses.clear();
        m_controller.startReceive(m_server.location(escaped(name)), m_server.userName(), m_server.password(), file);
        waitFor([this] { return !m_controller.isReceiving(); });
        return m_delegate.statuses;
    }

    QString localPath() const { return m_folder.filePath(u"local"_s); }

    GetDelegate m_delegate;
    UserDefaults m_defaults{ m_folder.filePath(u"settings.json"_s) };
    FTPGetController m_controller{ m_streams, m_defaults, [](const QString& /*path*/) {} };
};

TEST_P(RealGetTest, FilesOfEverySizeArriveIdentical)
{
    for (const qsizetype size : { qsizetype(0), qsizetype(1), qsizetype(32768), 64 * mebibyte }) {
        const QString name = u"size-%1"_s.arg(size);
        const QByteArray bytes = bytesOfSize(size);
        writeFile(m_server.path(name), bytes);

        const QStringList statuses = download(name, localPath());

        EXPECT_EQ(statuses,
                  (QStringList{ u"Starting get..."_s, u"Started Get."_s, u"Opened connection"_s,
                                u"Receiving \"%1\""_s.arg(name), u"Download succeeded"_s }));
        EXPECT_EQ(m_controller.fileSize(), size);
        EXPECT_TRUE(holds(localPath(), bytes)) << size;
    }
    EXPECT_EQ(m_delegate.percent, 100);
}

TEST_P(RealGetTest, FilesWithAwkwardNamesAreFound)
{
    for (const QString& name : awkwardNames()) {
        writeFile(m_server.path(name), name.toUtf8());

        const QStringList statuses = download(name, localPath());

        EXPECT_EQ(statuses.last(), u"Download succeeded"_s);
        EXPECT_TRUE(holds(localPath(), name.toUtf8())) << name.toStdString();
    }
}

TEST_P(RealGetTest, ADownloadReplacesTheLocalFileWhole)
{
    writeFile(m_server.path(u"a"_s), "short");
    writeFile(localPath(), bytesOfSize(100'000));

    const QStringList statuses = download(u"a"_s, localPath());

    EXPECT_EQ(statuses.last(), u"Download succeeded"_s);
    EXPECT_TRUE(holds(localPath(), "short"));
}

TEST_P(RealGetTest, TwoDownloadsWithoutAPlaceMakeTwoFilesInTheDownloadsFolder)
{
    const QByteArray bytes = bytesOfSize(50'000);
    writeFile(m_server.path(u"name.ext"_s), bytes);

    download(u"name.ext"_s, {});
    EXPECT_EQ(m_delegate.last(), u"Download succeeded"_s);
    download(u"name.ext"_s, {});
    EXPECT_EQ(m_delegate.last(), u"Download succeeded"_s);

    QDir downloads(QStandardPaths::writableLocation(QStandardPaths::DownloadLocation));
    const QStringList names = downloads.entryList({ u"*-name.ext"_s }, QDir::Files);
    EXPECT_EQ(names.size(), 2);
    for (const QString& name : names) {
        EXPECT_TRUE(holds(downloads.filePath(name), bytes));
        downloads.remove(name);
    }
}

TEST_P(RealGetTest, ACancelMidwayKeepsThePartialFileAndTheNextDownloadWorks)
{
    const QByteArray bytes = bytesOfSize(64 * mebibyte);
    writeFile(m_server.path(u"large"_s), bytes);
    writeFile(m_server.path(u"small"_s), "small");
    m_delegate.onBytes = [this](float done) {
        if (done > 1e6F) {
            m_controller.stopReceiveWithStatus(u"Cancelled"_s);
        }
    };

    const QStringList cancelled = download(u"large"_s, localPath());
    const QStringList next = download(u"small"_s, m_folder.filePath(u"next"_s));

    EXPECT_EQ(cancelled.last(), u"Cancelled"_s);
    EXPECT_GT(QFile(localPath()).size(), 1'000'000);
    EXPECT_LT(QFile(localPath()).size(), 2'000'000);
    EXPECT_TRUE(holds(localPath(), bytes.first(QFile(localPath()).size())));
    EXPECT_EQ(next.last(), u"Download succeeded"_s);
    EXPECT_TRUE(holds(m_folder.filePath(u"next"_s), "small"));
}

TEST_P(RealGetTest, AMissingFileIsRefused)
{
    const QStringList statuses = download(u"missing"_s, localPath());

    EXPECT_EQ(statuses.last(), u"FTP error 550"_s);
}

INSTANTIATE_TEST_SUITE_P(Servers, RealGetTest, testing::ValuesIn(usualServerMakes()), nameOfTest);

} // namespace
