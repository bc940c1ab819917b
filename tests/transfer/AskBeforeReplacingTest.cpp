#include "AskBeforeReplacing.h"

#include "IconSettings.h"
#include "UserDefaults.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class AskBeforeReplacingTest : public ::testing::Test {
protected:
    ~AskBeforeReplacingTest() override { IconSettings::use(QString()); }

    void write(const QByteArray& bytes) const
    {
        QFile file(m_settings.filePath());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
    }
    bool isWanted() const { return AskBeforeReplacing::isWanted(m_settings); }

    QTemporaryDir m_folder;
    UserDefaults m_settings{ m_folder.filePath(u"settings.json"_s) };
};

TEST_F(AskBeforeReplacingTest, NobodyIsAskedUnlessTheSettingsWantIt)
{
    for (const bool isIcon : { false, true }) {
        IconSettings::use(isIcon ? u"Work"_s : QString());
        QFile::remove(m_settings.filePath());
        EXPECT_FALSE(AskBeforeReplacing::isWanted(UserDefaults(m_settings.filePath())));
        for (const char* bytes :
             { R"({"Address": "host"})", R"({"AskBeforeReplacing": false})", R"({"AskBeforeReplacing": "true"})" }) {
            write(bytes);
            EXPECT_FALSE(isWanted()) << bytes;
        }
        write(R"({"AskBeforeReplacing": true})");
        EXPECT_TRUE(isWanted());
    }
}

TEST_F(AskBeforeReplacingTest, WhileTheFileHoldsNothingWhatItSaidBeforeCounts)
{
    for (const bool isAsked : { true, false }) {
        for (const char* bytes : { "", "{", "{}" }) {
            write(isAsked ? R"({"AskBeforeReplacing": true})" : R"({"Address": "host"})");
            ASSERT_EQ(isWanted(), isAsked);
            write(bytes);
            EXPECT_EQ(isWanted(), isAsked) << bytes;
        }
        ASSERT_TRUE(QFile::remove(m_settings.filePath()));
        EXPECT_EQ(isWanted(), isAsked);
    }
}

TEST_F(AskBeforeReplacingTest, WhereThatIsNotKnownAnIconWithAServerOfItsOwnAsks)
{
    write("{");
    EXPECT_FALSE(isWanted()) << "where there is no server either";

    IconSettings::use(u"Work"_s);
    EXPECT_TRUE(isWanted());
}

} // namespace
