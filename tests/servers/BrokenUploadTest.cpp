#include "CertificateTrust.h"
#include "EngineStreamFactory.h"
#include "FTPEngine.h"
#include "FTPManager.h"
#include "FTPPutController.h"
#include "NetworkManager.h"
#include "Printers.h"
#include "ScriptedServer.h"
#include "WaitFor.h"
#include "WeakRef.h"

#include <QFile>
#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

struct SentFile {
    int column; ///< From the left.
    const char* title;
    const char* name;
    qint64 size;
    FTPEncryption encryption;
};

struct Break {
    int row; ///< From above.
    const char* title;
    const char* name;
    QByteArrayList steps; ///< At the command; "HELD" stands for as many bytes as the client's system can hold.
    const char* port; ///< The step that the data connection's port is opened with.
    bool isWhole; ///< The server has it all in the end.
    qint64 smallest = 0; ///< A file to which this can happen is larger.
};

struct BrokenUpload {
    Break broken;
    SentFile file;
};

void PrintTo(const BrokenUpload& upload, std::ostream* out) // NOLINT(readability-identifier-naming): GoogleTest's name
{
    *out << upload.broken.title << ": " << upload.file.title;
}

using enum FTPEncryption;

constexpr qint64 firstBytes = 100'000; ///< What may be sent before anything is acknowledged.
constexpr qint64 tooMuchToSend = qint64(64) * 1024 * 1024;

const std::vector<SentFile> sentFiles{
    { 0, "1 byte", "OneByte", 1, None },
    { 1, "1 byte, encrypted", "OneByteEncrypted", 1, Required },
    { 2, "100,000 bytes", "FitsTheBuffers", firstBytes, None },
    { 3, "100,000 bytes, encrypted", "FitsTheBuffersEncrypted", firstBytes, Required },
    { 4, "64 MiB", "Large", tooMuchToSend, None },
    { 5, "64 MiB, encrypted", "LargeEncrypted", tooMuchToSend, Required },
};

const std::vector<Break> allBreaks{
    { 0, "reset, nothing acknowledged", "NothingAcknowledged", { "HELD", "data-reset", "226 Done" }, "deaf", false },
    { 1, "226 unread, then reset", "ConfirmedUnread", { "HELD", "226 Done", "wait 50", "data-reset" }, "deaf", false },
    { 2,
      "reset, a part acknowledged",
      "PartAcknowledged",
      { "read 50000", "held 1", "data-reset", "226 Done" },
      "narrow 16384",
      false,
      50'000 },
    { 3, "reset, everything acknowledged", "AllAcknowledged", { "take", "data-reset", "226 Done" }, "default", true },
};

std::vector<BrokenUpload> allBrokenUploads()
{
    std::vector<BrokenUpload> all;
    for (const Break& broken : allBreaks) {
        for (const SentFile& file : sentFiles) {
            if (file.size > broken.smallest) {
                all.push_back({ broken, file });
            }
        }
    }
    return all;
}

class TrustingJudge final : public CertificateTrust {
public:
    void judge(const CertificateQuestion& /*question*/, std::function<void(bool)> answer) override { answer(true); }
};

/// Uploads whose data connection is reset, by what the server's disk holds in the end: nothing that it does not hold is
/// told to have succeeded, whatever the server says.
class BrokenUploadTest : public testing::TestWithParam<BrokenUpload>, private FTPPutControllerDelegate {
protected:
    void SetUp() override
    {
        NetworkManager::setReachabilitySource([] { return ReachabilityFlags(ReachabilityFlag::Reachable); });
        NetworkManager::sharedInstance().setNetworkOperationCount(100);
        const auto& [broken, file] = GetParam();
        RecordProperty("table", "uploads");
        RecordProperty("column", file.column);
        RecordProperty("operation", file.title);
        RecordProperty("row", broken.row);
        RecordProperty("fault", broken.title);
        RecordProperty("ending", broken.isWhole ? "works" : "lost");
        QFile source(m_file);
        ASSERT_TRUE(source.open(QIODevice::WriteOnly) && source.resize(file.size));
        if (qstrcmp(broken.port, "default") != 0) {
            m_server.on("EPSV", { broken.port, "default" });
        }
        QByteArrayList steps = broken.steps;
        std::ranges::replace(steps, "HELD", "held " + QByteArray::number(std::min(file.size, firstBytes)));
        m_server.on("STOR", QByteArrayList{ "150 Go" } + steps);
    }

    void TearDown() override
    {
        NetworkManager::sharedInstance().setNetworkOperationCount(0);
        NetworkManager::setReachabilitySource(nullptr);
    }

    static FTPEncryption encryption() { return GetParam().file.encryption; }

    /// What the window would tell.
    QString upload()
    {
        FTPEngine engine;
        TrustingJudge judge;
        EngineStreamFactory streams(engine, judge);
        FTPPutController controller(streams);
        controller.setEncryptionSource(&BrokenUploadTest::encryption);
        controller.setDelegate(m_anchor.ref<FTPPutControllerDelegate>(this));
        controller.startSend(m_file, m_server.location(), u"anna"_s, u"secret"_s);
        EXPECT_TRUE(waitFor([&controller] { return !controller.isSending(); }));
        return m_status;
    }

    /// What the library answers.
    bool uploadByLibrary()
    {
        const auto record = FMServer::serverWithDestination(u"127.0.0.1"_s, u"anna"_s, u"secret"_s);
        record->setPort(m_server.port());
        record->setEncryption(encryption());
        record->setTrustedFingerprints({ m_certificate.fingerprint() });
        return FTPManager().uploadFile(QUrl::fromLocalFile(m_file), record.get());
    }

    /// Whether the server's disk has the whole file. It has not from then on.
    bool takeWholeFile()
    {
        static_cast<void>(m_server.events()); // What the server was about, it has done.
        const auto bytes = m_server.file(u"sent"_s);
        QFile::remove(m_server.pathOf(u"sent"_s));
        return bytes == QByteArray(GetParam().file.size, '\0');
    }

private:
    void percentDone(float /*percent*/) override { }
    void bytesDone(float /*bytes*/) override { }
    void updateStatus(const QString& status) override { m_status = status; }
    void uploadDone() override { }

    TestCertificate m_certificate = TestCertificate::selfSigned();
    ScriptedServer m_server{ m_certificate };
    QTemporaryDir m_folder;
    QString m_file = m_folder.filePath(u"sent"_s);
    QString m_status;
    WeakAnchor m_anchor;
};

TEST_P(BrokenUploadTest, SucceedsOnlyIfTheServerHasTheFile)
{
    const bool isWhole = GetParam().broken.isWhole;

    EXPECT_EQ(upload(), isWhole ? u"Upload succeeded"_s : u"Stream open error"_s);
    EXPECT_EQ(takeWholeFile(), isWhole);
    EXPECT_EQ(uploadByLibrary(), isWhole);
    EXPECT_EQ(takeWholeFile(), isWhole);
}

INSTANTIATE_TEST_SUITE_P(All, BrokenUploadTest, testing::ValuesIn(allBrokenUploads()),
                         [](const auto& each) { return std::string(each.param.broken.name) + each.param.file.name; });

} // namespace
