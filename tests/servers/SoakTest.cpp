#include "ConnectionPool.h"
#include "FaultOperations.h"
#include "LocalPath.h"
#include "OpenDescriptors.h"
#include "ResidentMemory.h"
#include "ServerTraits.h"
#include "WindowServerTest.h"

#include <QRandomGenerator>

#include <algorithm>
#include <iostream>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// How many files a run uploads.
int wantedFiles()
{
    bool isNumber = false;
    const int wanted = qEnvironmentVariableIntValue("SOAK_FILES", &isNumber);
    return isNumber ? std::max(wanted, 1) : 200;
}

/// What decides upon the faults of a run: another number each time, unless one is to be repeated.
quint32 chosenSeed()
{
    bool isNumber = false;
    const uint seed = qEnvironmentVariable("SOAK_SEED").toUInt(&isNumber);
    return isNumber ? seed : QRandomGenerator::global()->generate();
}

/// How a long run goes: where it began, and where it is.
class Footprint {
public:
    qint64 growth() const { return allocatedMemory() - m_memory; }
    int descriptorGrowth() const { return openDescriptors() - m_descriptors; }

private:
    qint64 m_memory = allocatedMemory();
    int m_descriptors = openDescriptors();
};

/// Thousands of uploads through the window's queue.
class SoakTest : public WindowServerTest {
protected:
    SoakTest()
    {
        std::cout << "SOAK_SEED=" << m_seed << '\n';
        auto& timeouts = m_engine.timeouts();
        timeouts.reply = 1s;
        timeouts.confirmation = 1s;
        timeouts.stalledData = 1s;
        timeouts.reason = 200ms;
        timeouts.quitGrace = 1ms;
    }

    /// A fault that the next upload meets, now and then one that it survives.
    void misbehave()
    {
        static const QList<ScriptedRule> faults{
            { .on = "STOR", .steps = { "553 No" } },
            { .on = "STOR", .steps = { "150 Go", "read 9", "552 Full", "data-reset" } },
            { .on = "STOR", .steps = { "150 Go", "read", "close" } },
            { .on = "STOR", .steps = { "150 Go", "read", "200 Got it" } },
            { .on = "STOR", .steps = { "150 Go", "read", "451 Lost it" } },
            { .on = "STOR", .steps = { "150 Go", "read", "silence" } },
            { .on = "STOR", .steps = { "150 Go", "read", "wait 50", "226 Got it" } },
            { .on = "STOR", .steps = { "150 Go", "accept", "reset" } },
            { .on = "STOR", .steps = { "reset" } },
            { .on = "STOR", .steps = { "421 Bye", "close" } },
            { .on = "STOR", .steps = { "flood 100000" } },
            { .on = "STOR", .steps = { "raw \xff\xfe\r\n" } },
            { .on = "EPSV", .steps = { "425 No" }, .times = 1 },
            { .on = "EPSV", .steps = { "close" }, .times = 1 },
            { .on = "EPSV", .steps = { "reset" }, .times = 1 },
            { .on = "EPSV", .steps = { "229 Go (|||{closed}|)" }, .times = 1 },
            { .on = "CWD", .steps = { "550 No" }, .times = 1 },
            { .on = "STOR", .steps = { "150 Go", "read", "226 Got it", "idle 5", "421 Bye", "close" } },
        };
        m_server.add(faults.at(m_random.bounded(faults.size())));
    }

    /// Uploads one file and checks what is said of it against what is there. True when it went up.
    bool upload(const QString& folder, const QString& name)
    {
        QByteArray bytes(m_random.bounded(4096), Qt::Uninitialized);
        std::generate(bytes.begin(), bytes.end(), [this] { return static_cast<char>(m_random.generate()); });
        const QString path = makeFile(name, bytes);
        m_controller->uploadFiles({ path });
        EXPECT_TRUE(
            waitFor([this] { return m_controller->fileUploadQueue().isEmpty() && !m_controller->pc().isSending(); }));
        const QString said = status();
        QFile::remove(path);
        if (said == u"Upload succeeded"_s) {
            EXPECT_TRUE(m_server.file(folder + u'/' + name) == bytes) << name.toStdString();
            return true;
        }
        EXPECT_TRUE(said.startsWith(u"FTP error "_s) || said == u"Stream open error"_s) << said.toStdString();
        return false;
    }

    /// About how many bytes the history takes, which holds a row for each file of the run, and is meant to.
    qint64 historySize() const
    {
        constexpr qint64 allocation = 32; // What an allocated text takes beside its characters.
        const HistoryEntries& entries = m_controller->history().entries();
        qint64 size = entries.size() * qint64{ sizeof(HistoryEntry) };
        for (const HistoryEntry& entry : entries) {
            size += LocalPath::toBytes(entry.path).size();
            size += entry.reply.isNull() ? 0 : allocation + entry.reply.capacity() * qint64{ sizeof(QChar) };
        }
        return size;
    }

    /// Whatever the run has left behind is closed, and what was recorded of it is forgotten.
    void rest()
    {
        m_server.forgetRules();
        EXPECT_TRUE(waitUntilIdle());
        EXPECT_TRUE(waitFor([] {
            answerSheet();
            return shownSheets().isEmpty();
        }));
        ConnectionPool& pool = m_engine.pool();
        EXPECT_TRUE(waitFor([this, &pool] {
            pool.closeIdle(u"127.0.0.1"_s, m_server.port());
            return pool.connectionCount() == 0;
        }));
        m_engine.servers().of({ u"127.0.0.1"_s, m_server.port(), {}, {} }) = {};
        drainEventLoop();
        m_server.forgetRecords();
    }

    const quint32 m_seed = chosenSeed();
    QRandomGenerator m_random{ m_seed };
};

TEST_F(SoakTest, EveryFileReportedAsSentIsThereAndNothingIsLeftBehind)
{
    constexpr int filesInAFolder = 100;
    const int files = wantedFiles();
    std::optional<Footprint> footprint;
    qint64 historySizeAtFirst = 0;
    int sent = 0;
    for (int number = 0; number < files; ++number) {
        const QString folder = u"folder %1"_s.arg(number / filesInAFolder);
        if (number % filesInAFolder == 0) {
            rest();
            QDir(m_server.root()).mkdir(folder);
            set({ { u"FTPFolder"_s, folder } });
        }
        if (number == std::min(filesInAFolder, files / 2)) {
            rest();
            footprint.emplace(); // What is made once and for all is made.
            historySizeAtFirst = historySize();
        }
        const bool isFaulty = number % 20 == 19;
        if (isFaulty) {
            misbehave();
        }
        const bool wentUp = upload(folder, u"file %1"_s.arg(number));
        sent += wentUp ? 1 : 0;
        EXPECT_TRUE(wentUp || isFaulty) << number;
        if (isFaulty) {
            rest();
        }
    }
    set({ { u"FTPFolder"_s, u"folder"_s } });
    m_controller->listFTPDestination(); // An empty one.
    rest();

    EXPECT_EQ(NetworkManager::sharedInstance().networkOperationCount(), 0U);
    const qint64 historyGrowth = historySize() - historySizeAtFirst;
    EXPECT_LT(footprint->growth() - historyGrowth, 1 << 20);
    EXPECT_LE(footprint->descriptorGrowth(), 0);
    std::cout << files << " files, " << sent << " sent, " << files - sent << " failed and said so; "
              << footprint->growth() << " bytes more than at first, " << historyGrowth << " of them the history; "
              << footprint->descriptorGrowth() << " descriptors more\n";
}

class RepeatedFailuresTest : public testing::Test {
protected:
    /// Does @p operation against @p fault where that ends without waiting. True when it was done.
    bool fail(FaultOperations& operations, Operation operation, Fault fault)
    {
        const std::optional<FaultPlan> plan = planOf(fault, operation);
        const bool waits = fault.manner == Manner::Slow || fault.manner == Manner::Stalled
            || fault.manner == Manner::SingleBytes || fault.manner == Manner::Oversized;
        if (!plan || waits || plan->needsShortTimeouts || plan->port != FaultPlan::Port::Served) {
            return false;
        }
        for (const ScriptedRule& rule : plan->rules) {
            m_scene.server().add(rule);
        }
        m_scene.prepare(operation);
        EXPECT_EQ(operations.perform(operation, m_scene.server().port(), false),
                  operations.outcome(operation, plan->ending).told);
        m_scene.server().forgetRules();
        operations.leave();
        m_scene.server().forgetRecords();
        return true;
    }

    /// Every operation against every fault, once; answers how many there were.
    int failAtEverything()
    {
        using enum Operation;
        int count = 0;
        for (const Fault& fault : allFaults()) {
            for (const Operation operation :
                 { Upload, Download, Listing, FolderCreation, ManualFolderCreation, CarefulDeletion, ConnectionTest }) {
                count += fail(*m_window, operation, fault) ? 1 : 0;
            }
            for (const Operation operation :
                 { Upload, Download, Listing, FolderCreation, Deletion, CarefulDeletion, LoginTest }) {
                count += fail(*m_library, operation, fault) ? 1 : 0;
            }
        }
        return count;
    }

    FaultScene m_scene;
    std::unique_ptr<FaultOperations> m_window = operationsOfWindow(m_scene);
    std::unique_ptr<FaultOperations> m_library = operationsOfLibrary(m_scene);
};

TEST_F(RepeatedFailuresTest, LeaveNoMemoryAndNoDescriptor)
{
    const int wanted = wantedFiles() / 10;
    failAtEverything();
    const Footprint footprint;

    int count = 0;
    while (count < wanted) {
        count += failAtEverything();
    }

    EXPECT_LT(footprint.growth(), 1 << 20);
    EXPECT_LE(footprint.descriptorGrowth(), 0);
    std::cout << count << " operations failed; " << footprint.growth() << " bytes and " << footprint.descriptorGrowth()
              << " descriptors more than at first\n";
}

} // namespace
