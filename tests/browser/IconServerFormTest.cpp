#include "IconServerForm.h"

#include "ServerForm.h"
#include "TypedServer.h"
#include "UserDefaults.h"

#include <QJsonObject>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class IconServerFormTest : public ::testing::Test {
protected:
    QLineEdit& field(const char* name) { return *m_form.findChild<QLineEdit*>(QString::fromLatin1(name)); }
    /// All that is stored after what the form says is.
    QJsonObject storedChanges()
    {
        EXPECT_TRUE(m_settings.store(m_form.changes(m_settings)));
        return m_settings.values();
    }

    QTemporaryDir m_folder;
    UserDefaults m_settings{ m_folder.filePath(u"icons/Work.json"_s) };
    QStringList m_trusted;
    IconServerForm m_form{ {
        .destinationFor
        = [](const QString& address, const QString& folder) { return u"ftp://%1/%2/"_s.arg(address, folder); },
        .trustsCertificate = [this](const QString& destination) { return m_trusted.contains(destination); },
    } };
};

TEST_F(IconServerFormTest, ANewIconsServerIsAllThatWasTyped)
{
    m_form.fill(m_settings);
    EXPECT_TRUE(m_form.changes(m_settings).isEmpty());

    const QJsonObject typed = typeServer(m_form);

    EXPECT_EQ(m_form.destination(), u"ftp://other/in/"_s);
    EXPECT_EQ(storedChanges(), typed);
}

TEST_F(IconServerFormTest, OfAnIconThatIsThereOnlyWhatWasEditedChanges)
{
    ASSERT_TRUE(m_settings.store({ { u"Address"_s, u"host"_s }, { u"WebAddress"_s, u"https://host"_s } }));
    m_form.fill(m_settings);
    EXPECT_EQ(field("webAddressTextField").text(), u"https://host"_s);

    field("webAddressTextField").clear();
    field("usernameTextField").setText(u"anna"_s);

    EXPECT_EQ(storedChanges(), (QJsonObject{ { u"Address"_s, u"host"_s }, { u"Username"_s, u"anna"_s } }));
}

TEST_F(IconServerFormTest, TheCertificateThatCanBeForgottenIsThatOfTheServerThatIsTyped)
{
    m_trusted = { u"ftp://other/in/"_s };
    ASSERT_TRUE(m_settings.store({ { u"Address"_s, u"host"_s }, { u"FTPFolder"_s, u"in"_s } }));
    m_form.fill(m_settings);
    const auto* const forget = m_form.findChild<QPushButton*>(u"forgetCertificateButton"_s);
    EXPECT_FALSE(forget->isEnabled());

    field("addressTextField").setText(u"other"_s);

    EXPECT_TRUE(forget->isEnabled());
}

} // namespace
