#include "UploadIntake.h"

#include "AutomaticTries.h"
#include "Delays.h"
#include "DestinationSettings.h"
#include "FakeFTPStream.h"
#include "FaultyFileCalls.h"
#include "NetworkManager.h"
#include "Printers.h"
#include "ProgramName.h"
#include "SettingNames.h"
#include "TreePath.h"
#include "UploadHistory.h"
#include "UploadQueue.h"
#include "UserDefaults.h"
#include "WaitFor.h"

#include <QDir>
#include <QFile>
#include <QPointer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <optional>

using namespace Qt::StringLiterals;
using Outcome = HistoryEntry::Outcome;

namespace {

constexpr UploadRequest unattended{ .number = 1, .isUnattended = true };

/// Drops where the settings say that somebody is asked before a file on the server is replaced.
class UploadIntakeTest : public ::testing::Test {
protected:
    UploadIntakeTest()
    {
        NetworkManager::sharedInstance().setNetworkOperationCount(100); // Each stop is counted, also of what is idle.
        setProgramFileName(u"Quillbox"_s); // No drop icon, which has a folder of its own.
        set(SettingNames::address, u"host"_s);
        set(SettingNames::askBeforeReplacing, true);
        m_intake.emplace(m_queue, m_history, m_tries, m_streams);
        QObject::connect(&*m_intake, &UploadIntake::asked, &*m_intake, [this](const HeldDrops::Question& question) {
            m_question = question;
            m_matter = question.matter;
            ++m_questions;
        });
    }
    ~UploadIntakeTest() override
    {
        m_intake.reset();
        NetworkManager::sharedInstance().setNetworkOperationCount(0);
        set(SettingNames::askBeforeReplacing, QJsonValue());
        UserDefaults::standard().lastKnown(SettingNames::askBeforeReplacing); // It is forgotten.
        QFile::remove(UserDefaults::standard().filePath());
        setProgramFileName(QString());
    }

    static void set(const QString& key, const QJsonValue& value)
    {
        EXPECT_TRUE(UserDefaults::standard().store({ { key, value } }));
    }
    void take(const PathList& paths, UploadRequest request = {})
    {
        m_intake->take({ .paths = paths, .request = request });
    }
    /// The listing that attended drops wait for, or unattended ones; null while there is none.
    FakeFTPStream* look(bool isUnattended = false) const
    {
        for (const auto& stream : m_streams.streams()) {
            if (stream->isOpen() && stream->asksNobody == isUnattended) {
                return stream.get();
            }
        }
        return nullptr;
    }
    /// Waits until the server is asked, and answers that the files @p names are there.
    void whenLooked(const QByteArrayList& names, bool isUnattended = false)
    {
        ASSERT_TRUE(waitFor([&] { return look(isUnattended) != nullptr; }));
        FakeFTPStream& listing = *look(isUnattended);
        listing.sendOpenCompleted();
        for (const QByteArray& name : names) {
            listing.sendBytes("-rw-r--r-- 1 u g 5 Jan 1 2024 " + name + "\r\n");
        }
        listing.sendEnd();
    }
    bool waitForQuestion(int number)
    {
        return waitFor([this, number] { return m_questions == number && m_matter != nullptr; });
    }
    /// Answers the question as soon as files join, before anybody can have seen what they are called.
    void answerWhenFilesJoin(bool replace)
    {
        QObject::connect(
            &m_queue, &UploadQueue::appended, &m_queue, [this, replace] { m_question.answer(replace); },
            Qt::SingleShotConnection);
    }
    /// The indices of the files that the question is about.
    QList<qsizetype> found() const
    {
        QList<qsizetype> found;
        for (const ReplacementSearch::Found& each : m_question.found) {
            found.append(each.index);
        }
        return found;
    }
    bool waitForQueue(const QStringList& paths)
    {
        return waitFor([this, &paths] { return m_queue.paths() == paths; });
    }
    QList<Outcome> outcomes() const
    {
        QList<Outcome> outcomes;
        for (const HistoryEntry& entry : m_history.entries()) {
            outcomes.append(entry.outcome);
        }
        return outcomes;
    }

    UploadHistory m_history;
    UploadQueue m_queue{ m_history };
    FakeStreamFactory m_streams;
    AutomaticTries m_tries{ m_history, m_queue };
    std::optional<UploadIntake> m_intake;
    HeldDrops::Question m_question{}; ///< The latest one.
    QPointer<const QObject> m_matter; ///< Its.
    int m_questions = 0;
};

TEST_F(UploadIntakeTest, WhatComesWhileAQuestionStandsIsAskedAboutTogether)
{
    take({ u"/x/a"_s });
    whenLooked({ "a", "b" });
    ASSERT_TRUE(waitForQuestion(1));
    take({ u"/x/b"_s });
    take({ u"/x/c"_s });
    take({ u"/x/b"_s });

    m_question.answer(false);
    whenLooked({ "a", "b" });
    ASSERT_TRUE(waitForQuestion(2));
    EXPECT_EQ(m_question.files, (QStringList{ u"/x/b"_s, u"/x/c"_s, u"/x/b"_s }));
    EXPECT_EQ(found(), (QList<qsizetype>{ 0, 2 }));
    m_question.answer(false);

    EXPECT_EQ(outcomes(),
              (QList{ Outcome::NotReplacing, Outcome::NotReplacing, Outcome::Waiting, Outcome::NotReplacing }));
    EXPECT_EQ(m_queue.paths(), QStringList{ u"/x/c"_s });
}

TEST_F(UploadIntakeTest, FilesOfAnotherDestinationAreNotOneWithOthersAndAreGivenUp)
{
    take({ u"/x/a"_s });
    whenLooked({ "a" });
    ASSERT_TRUE(waitForQuestion(1));
    take({ u"/x/b"_s });
    m_intake->takeAgain({ u"/x/c"_s }, { .location = u"ftp://elsewhere/"_s });

    m_question.answer(true);
    whenLooked({});

    EXPECT_TRUE(waitForQueue({ u"/x/a"_s, u"/x/b"_s }));
    EXPECT_EQ(outcomes(), (QList{ Outcome::Waiting, Outcome::Waiting, Outcome::Removed, Outcome::Note }));
}

TEST_F(UploadIntakeTest, UnattendedFilesDoNotWaitForAnAnswerToOthers)
{
    take({ u"/x/a"_s });
    whenLooked({ "a" });
    ASSERT_TRUE(waitForQuestion(1));

    take({ u"/x/b"_s, u"/x/c"_s }, unattended);
    take({ u"/x/d"_s }, unattended);
    whenLooked({ "c" }, true);
    whenLooked({}, true);

    EXPECT_TRUE(waitForQueue({ u"/x/b"_s, u"/x/d"_s }));
    EXPECT_EQ(outcomes(), (QList{ Outcome::Waiting, Outcome::Waiting, Outcome::Failed, Outcome::Waiting }));
    EXPECT_NE(m_matter, nullptr);
    m_question.answer(true);
    EXPECT_TRUE(waitForQueue({ u"/x/b"_s, u"/x/d"_s, u"/x/a"_s }));
    EXPECT_EQ(m_questions, 1);
}

TEST_F(UploadIntakeTest, WhatTheySendMeanwhileMakesAnotherQuestion)
{
    take({ u"/x/a"_s, u"/x/b"_s });
    whenLooked({ "a" });
    ASSERT_TRUE(waitForQuestion(1));
    EXPECT_EQ(found(), QList<qsizetype>{ 0 });
    answerWhenFilesJoin(true);

    take({ u"/y/b"_s }, unattended);
    whenLooked({}, true);
    ASSERT_TRUE(waitForQuestion(2));

    EXPECT_EQ(found(), (QList<qsizetype>{ 0, 1 }));
    EXPECT_EQ(m_question.found[1].place, ReplacementSearch::Found::Place::SentBefore);
    EXPECT_EQ(m_queue.paths(), QStringList{ u"/y/b"_s });
    m_question.answer(false);
    EXPECT_EQ(outcomes(), (QList{ Outcome::NotReplacing, Outcome::NotReplacing, Outcome::Waiting }));
}

TEST_F(UploadIntakeTest, AnAnswerMeanwhileCountsWhereTheyHaveOtherNames)
{
    take({ u"/x/a"_s });
    whenLooked({ "a" });
    ASSERT_TRUE(waitForQuestion(1));
    answerWhenFilesJoin(true);

    take({ u"/y/b"_s }, unattended);
    whenLooked({}, true);

    EXPECT_TRUE(waitForQueue({ u"/y/b"_s, u"/x/a"_s }));
    EXPECT_EQ(m_questions, 1);
}

TEST_F(UploadIntakeTest, WhatOthersSendWhileTheServerIsAskedCountsForUnattendedFiles)
{
    take({ u"/x/a"_s }, unattended);
    take({ u"/y/a"_s });
    ASSERT_TRUE(waitFor([this] { return look(true) != nullptr; }));
    whenLooked({});
    ASSERT_TRUE(waitForQueue({ u"/y/a"_s }));

    whenLooked({}, true);

    EXPECT_TRUE(waitFor([this] { return outcomes() == QList{ Outcome::Failed, Outcome::Waiting }; }));
}

TEST_F(UploadIntakeTest, WhatIsSentByHandIsAskedAboutWhereItGoesToTheSamePlace)
{
    m_history.manualFileStarts(u"/y/a"_s, { .location = u"ftp://elsewhere/"_s });
    take({ u"/x/a"_s });
    whenLooked({});
    ASSERT_TRUE(waitForQueue({ u"/x/a"_s }));
    m_history.fileEnded({ .kind = Outcome::Stopped });

    m_history.manualFileStarts(u"/y/b"_s, DestinationSettings::destination());
    take({ u"/x/b"_s });
    whenLooked({});

    EXPECT_TRUE(waitForQuestion(1));
    EXPECT_EQ(found(), QList<qsizetype>{ 0 });
}

TEST_F(UploadIntakeTest, UnattendedFilesDoNotWaitForAWalkThroughTheFoldersOfOthers)
{
    for (const bool isAsked : { true, false }) {
        SCOPED_TRACE(isAsked);
        set(SettingNames::askBeforeReplacing, isAsked);
        set(SettingNames::droppedFolders, u"uploaded"_s);
        const QTemporaryDir folder;
        for (const QString& name : { u"slow"_s, u"quick"_s }) {
            ASSERT_TRUE(QDir(folder.path()).mkdir(name));
            ASSERT_TRUE(QFile(folder.filePath(name + u"/file"_s)).open(QIODevice::WriteOnly));
        }
        {
            const FaultyFileCalls calls;
            FaultyFileCalls::holdOpening("/slow");
            take({ folder.filePath(u"slow"_s) });
            take({ folder.filePath(u"quick"_s) }, unattended);
            if (isAsked) {
                whenLooked({}, true);
            }

            EXPECT_TRUE(waitForQueue({ folder.path() + TreePath::mark + u"quick/file"_s }));
            EXPECT_TRUE(m_intake->isLookingThrough());
        }
        if (isAsked) {
            whenLooked({});
        }
        EXPECT_TRUE(waitFor([this] { return m_queue.size() == 2 && !m_intake->isLookingThrough(); }));
        m_queue.clear();
    }
}

TEST_F(UploadIntakeTest, UnattendedFilesWaitForNoDestinationWhereverTheyStand)
{
    set(SettingNames::askBeforeReplacing, false);
    take({ u"/x/a"_s });
    take({ u"/x/b"_s }, unattended);
    set(SettingNames::address, QJsonValue());
    m_intake->destinationChanged();
    take({ u"/x/c"_s }, unattended);
    EXPECT_EQ(m_queue.paths(), QStringList{ u"/x/a"_s });
    EXPECT_EQ(outcomes(), (QList{ Outcome::Waiting, Outcome::Waiting, Outcome::Waiting }));

    m_intake->destinationMissed();

    EXPECT_EQ(outcomes(), (QList{ Outcome::Waiting, Outcome::Failed, Outcome::Failed }));
    EXPECT_EQ(m_history.entries()[1].status, u"No Destination"_s);
    EXPECT_EQ(m_history.queueTally().failed, 2);
    EXPECT_TRUE(m_history.isQueueUnderWay());
}

TEST_F(UploadIntakeTest, UnattendedFilesGoOnWhenTheDestinationIsBack)
{
    set(SettingNames::askBeforeReplacing, false);
    take({ u"/x/a"_s }, unattended);
    set(SettingNames::address, QJsonValue());
    m_intake->destinationChanged();
    EXPECT_TRUE(m_queue.isEmpty());
    EXPECT_TRUE(m_history.isQueueUnderWay());

    set(SettingNames::address, u"host"_s);
    m_intake->destinationMissed(); // Too late.

    EXPECT_EQ(m_queue.paths(), QStringList{ u"/x/a"_s });
    EXPECT_EQ(m_history.firstQueueRow(), 0);
}

TEST_F(UploadIntakeTest, UnattendedFilesFailInTheWordsOfAListingThatFails)
{
    take({ u"/x/a"_s }, unattended);
    ASSERT_TRUE(waitFor([this] { return look(true) != nullptr; }));
    look(true)->reply = u"421 Not now"_s;
    look(true)->sendRefusal(421);

    EXPECT_TRUE(waitFor([this] { return outcomes() == QList{ Outcome::Failed }; }));
    EXPECT_EQ(m_history.entries()[0].status,
              u"it is not known what is on the server, and nobody was asked: 421 Not now"_s);
}

TEST_F(UploadIntakeTest, NorDoTheyFailWhereNobodyWantsToBeAskedAnyMore)
{
    take({ u"/x/a"_s }, unattended);
    ASSERT_TRUE(waitFor([this] { return look(true) != nullptr; }));

    set(SettingNames::askBeforeReplacing, QJsonValue());
    whenLooked({ "a" }, true);

    EXPECT_TRUE(waitForQueue({ u"/x/a"_s }));
    EXPECT_EQ(outcomes(), QList{ Outcome::Waiting });
}

TEST_F(UploadIntakeTest, AQuestionIsOverWhenNobodyWantsToBeAsked)
{
    take({ u"/x/a"_s });
    whenLooked({ "a" });
    ASSERT_TRUE(waitForQuestion(1));
    take({ u"/x/b"_s });
    passDelaysOf(*m_matter);
    EXPECT_NE(m_matter, nullptr);

    set(SettingNames::askBeforeReplacing, QJsonValue());
    passDelaysOf(*m_matter);

    EXPECT_EQ(m_matter, nullptr);
    EXPECT_EQ(m_queue.paths(), (QStringList{ u"/x/a"_s, u"/x/b"_s }));
    m_question.answer(false); // It does nothing.
    EXPECT_EQ(outcomes(), (QList{ Outcome::Waiting, Outcome::Waiting }));
}

TEST_F(UploadIntakeTest, AQuestionIsOverWhenAnotherDestinationIsInForce)
{
    take({ u"/x/a"_s });
    whenLooked({ "a" });
    ASSERT_TRUE(waitForQuestion(1));

    set(SettingNames::ftpFolder, u"other"_s);
    passDelaysOf(*m_matter);

    EXPECT_EQ(m_matter, nullptr);
    whenLooked({ "a" });
    ASSERT_TRUE(waitForQuestion(2));
    m_question.answer(true);
    EXPECT_EQ(m_queue.paths(), QStringList{ u"/x/a"_s });
}

TEST_F(UploadIntakeTest, WhileTheSettingsAreWrittenNothingJoinsUnasked)
{
    take({ u"/x/a"_s });
    whenLooked({ "a" });
    ASSERT_TRUE(waitForQuestion(1));
    ASSERT_TRUE(QFile::resize(UserDefaults::standard().filePath(), 0));

    m_intake->destinationChanged();

    EXPECT_TRUE(m_queue.isEmpty());
    EXPECT_EQ(m_intake->stage(), UploadIntake::Stage::AwaitingDestination);
}

TEST_F(UploadIntakeTest, GivingUpTakesAllThatIsHeld)
{
    take({ u"/x/a"_s });
    whenLooked({ "a" });
    ASSERT_TRUE(waitForQuestion(1));
    take({ u"/x/b"_s });
    take({ u"/x/c"_s }, unattended);

    m_intake->giveUp();

    EXPECT_EQ(m_matter, nullptr);
    EXPECT_EQ(m_intake->stage(), UploadIntake::Stage::Nothing);
    EXPECT_EQ(m_queue.paths(), (QStringList{ u"/x/a"_s, u"/x/b"_s, u"/x/c"_s }));
}

TEST_F(UploadIntakeTest, GivingUpInMidWalkTakesWhatWasFoundAndTheRest)
{
    set(SettingNames::droppedFolders, u"uploaded"_s);
    const QTemporaryDir folder;
    ASSERT_TRUE(QDir(folder.path()).mkdir(u"slow"_s));
    PathList paths(QStringList(500, u"/x/a"_s)); // A piece of them comes before the folder.
    paths.append(folder.filePath(u"slow"_s));
    const FaultyFileCalls calls;
    FaultyFileCalls::holdOpening("/slow");
    take(paths);
    ASSERT_TRUE(waitFor([this] { return m_history.waitingCount() > 0; }));

    m_intake->giveUp();

    EXPECT_EQ(m_queue.size(), paths.size());
    m_queue.clear();
    EXPECT_EQ(m_history.waitingCount(), 0);
    EXPECT_FALSE(m_history.isQueueUnderWay());
}

TEST_F(UploadIntakeTest, GivingUpInMidWalkEndsEachDrop)
{
    set(SettingNames::droppedFolders, u"uploaded"_s);
    const QTemporaryDir folder;
    const QString slow = folder.filePath(u"slow"_s);
    ASSERT_TRUE(QDir().mkdir(slow));
    QList<int> ended;
    QObject::connect(&*m_intake, &UploadIntake::dropEnded, &*m_intake,
                     [&ended](UploadRequest request) { ended.append(request.number); });
    const FaultyFileCalls calls;
    FaultyFileCalls::holdOpening("/slow");
    take({ slow }, { .number = 2 });
    take({ u"/x/a"_s }, { .number = 3 });
    take({ slow }, unattended);

    m_intake->giveUp();

    EXPECT_EQ(ended, (QList{ 2, 3, 1 }));
    EXPECT_EQ(m_queue.paths(), (QStringList{ slow, u"/x/a"_s, slow }));
    EXPECT_EQ(m_intake->stage(), UploadIntake::Stage::Nothing);
}

} // namespace
