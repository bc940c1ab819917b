#include "HistoryTableModel.h"

#include "UploadHistory.h"
#include "UploadLedger.h"
#include "WaitFor.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Outcome = HistoryEntry::Outcome;

namespace {

class HistoryTableModelTest : public ::testing::Test {
protected:
    bool standsOut(int row) const { return m_model.index(row, 4).data(Qt::ForegroundRole).isValid(); }

    UploadHistory m_history;
    UploadLedger m_ledger{ m_history };
    HistoryTableModel m_model{ m_history, m_ledger };
    QAbstractItemModelTester m_tester{ &m_model, QAbstractItemModelTester::FailureReportingMode::Fatal };
};

TEST_F(HistoryTableModelTest, RowsComeAndChangeWithTheHistory)
{
    m_history.filesQueued({ u"/a"_s });
    m_history.filesQueued({ u"/b"_s, u"/c"_s });

    m_history.nextFileStarts({ u"ftp://host/"_s });

    ASSERT_EQ(m_model.rowCount(), 3);
    EXPECT_EQ(m_model.index(0, 4).data().toString(), u"Sending"_s);
    EXPECT_EQ(m_model.index(2, 0).data().toString(), u"c"_s);
}

TEST_F(HistoryTableModelTest, FailuresAndDifferencesStandOut)
{
    m_history.filesQueued({ u"/a"_s, u"/b"_s, u"/c"_s, u"/d"_s });
    for (const Outcome outcome : { Outcome::Failed, Outcome::NotFound }) {
        m_history.nextFileStarts({ u"ftp://host/"_s });
        m_history.fileEnded({ .kind = outcome });
    }
    for (int i = 0; i < 2; ++i) {
        m_history.nextFileStarts({ u"ftp://host/"_s });
        m_history.fileMoves(5);
        m_history.fileConfirmed(5, QString());
    }
    m_history.listingStarts(u"ftp://host/"_s);
    ListingEntry shorter;
    shorter.name = u"c"_s;
    shorter.type = ListingEntry::plainFileType;
    shorter.size = 4;
    m_history.listed({ shorter });

    EXPECT_TRUE(standsOut(0));
    EXPECT_TRUE(standsOut(1));
    EXPECT_TRUE(standsOut(2));
    EXPECT_FALSE(standsOut(3));
}

TEST_F(HistoryTableModelTest, OnlyRowsThatWereReadAreShownAgain)
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"history.sqlite"_s);
    {
        UploadHistory history;
        UploadLedger ledger(history);
        PathList paths;
        for (int number = 0; number < 1000; ++number) {
            paths.append(u"/%1"_s.arg(number));
        }
        history.filesQueued(paths);
        ledger.open(path, u"Quillbox"_s);
        ASSERT_TRUE(ledger.close(60s));
    }
    m_ledger.open(path, u"Quillbox"_s);
    m_model.refresh();
    ASSERT_TRUE(waitFor([this] { return m_model.rowCount() == 1000; }));
    const auto text = [this](int row) { return m_model.index(row, 0).data().toString(); };
    const QSignalSpy changes(&m_model, &QAbstractItemModel::dataChanged);
    ASSERT_TRUE(waitFor([&text] { return text(550) == u"550"_s; })); // Asked for again and again until it is there.

    QSet<int> pages;
    for (const QVariantList& change : changes) {
        EXPECT_EQ(change[0].toModelIndex().row() / 100, change[1].toModelIndex().row() / 100); // A page.
        pages.insert(change[0].toModelIndex().row() / 100);
    }
    EXPECT_EQ(changes.size(), pages.size()); // Each was read once.
}

TEST_F(HistoryTableModelTest, OthersChangesAreAskedForWhileSomebodySeesTheRows)
{
    m_ledger.open({}, u"Quillbox"_s);
    const QSignalSpy answers(&m_model, &HistoryTableModel::answered);
    const auto waitForAllAsked = [this] {
        bool isAnswered = false; // What was asked before is answered before.
        m_ledger.find({}, &m_ledger, [&isAnswered](const auto&) { isAnswered = true; });
        return waitFor([&isAnswered] { return isAnswered; });
    };
    emit m_ledger.othersChanged();
    ASSERT_TRUE(waitForAllAsked());
    EXPECT_EQ(answers.size(), 0);
    m_model.setSeen(true);
    ASSERT_TRUE(waitForAllAsked());
    EXPECT_EQ(answers.size(), 1);
    emit m_ledger.othersChanged();
    ASSERT_TRUE(waitForAllAsked());
    EXPECT_EQ(answers.size(), 2);
}

TEST_F(HistoryTableModelTest, ToolTipsAreNoMarkup)
{
    m_history.filesQueued({ u"/<b>a</b>"_s });

    EXPECT_TRUE(m_model.index(0, 0).data(Qt::ToolTipRole).toString().contains(u"&lt;b&gt;"_s));
}

} // namespace
