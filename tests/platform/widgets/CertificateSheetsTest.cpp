#include "CertificateSheets.h"

#include "Printers.h"
#include "Sheets.h"
#include "WaitFor.h"

#include <QLabel>
#include <QTest>

#include <gtest/gtest.h>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

class CertificateSheetsTest : public testing::Test {
protected:
    CertificateSheetsTest()
    {
        m_question.host = u"ftp.example"_s;
        m_question.port = 2121;
        m_question.certificate.fingerprint = QByteArray(32, '\xab');
        m_question.certificate.subject = u"CN=<b>ftp\u202e</b>"_s;
        m_question.certificate.issuer = u"CN=%1 %2"_s;
        m_question.certificate.problems = { CertificateProblem::SelfSigned, CertificateProblem::WrongHost };
        m_sheets.setWindow(*m_window);
        m_window->show();
    }

    void ask()
    {
        m_sheets.askToTrust(m_question, [this](bool isTrusted) {
            EXPECT_FALSE(m_answer);
            m_answer = isTrusted;
        });
    }
    static AlertDialog& box() { return *shownBoxes().first(); }
    /// The value of a line of the sheet.
    static const QLabel* detail(const QString& name)
    {
        for (const QLabel* label : box().findChildren<QLabel*>()) {
            if (label->accessibleDescription() == name) {
                return label;
            }
        }
        ADD_FAILURE() << name.toStdString();
        return nullptr;
    }

    CertificateQuestion m_question;
    std::unique_ptr<QWidget> m_window = std::make_unique<QWidget>();
    CertificateSheets m_sheets;
    std::optional<bool> m_answer;
};

TEST_F(CertificateSheetsTest, TheQuestionTellsEverythingAndObeysNothing)
{
    ask();

    ASSERT_EQ(shownSheets().size(), 1);
    EXPECT_TRUE(shownSheets().first().startsWith(u"Trust This Server?: "_s));
    EXPECT_TRUE(shownSheets().first().contains(u"• It vouches for itself: nobody that this computer trusts"_s));
    EXPECT_TRUE(shownSheets().first().contains(u"• It was made for no server, not for “ftp.example”."_s));
    EXPECT_EQ(detail(u"Server"_s)->text(), u"ftp.example, port 2121"_s);
    EXPECT_EQ(detail(u"Issued to"_s)->text(), u"CN=<b>ftp⟨U+202E⟩</b>"_s);
    EXPECT_EQ(detail(u"Issued by"_s)->text(), u"CN=%1 %2"_s);
    EXPECT_EQ(detail(u"Fingerprint (SHA-256)"_s)->text().remove(u'\n').remove(u':'), u"AB"_s.repeated(32));
    for (const QLabel* label : box().findChildren<QLabel*>()) {
        EXPECT_TRUE(label->text().isEmpty() || label->textFormat() == Qt::PlainText) << label->text().toStdString();
    }
    answerSheet(u"Cancel"_s);
}

TEST_F(CertificateSheetsTest, TheFingerprintCanBeSelectedAndIsShownWhole)
{
    ask();
    drainEventLoop();

    const QLabel& fingerprint = *detail(u"Fingerprint (SHA-256)"_s);

    EXPECT_TRUE(fingerprint.textInteractionFlags().testFlag(Qt::TextSelectableByMouse));
    EXPECT_TRUE(fingerprint.textInteractionFlags().testFlag(Qt::TextSelectableByKeyboard));
    EXPECT_GE(fingerprint.width(), fingerprint.sizeHint().width());
    EXPECT_GE(fingerprint.height(), fingerprint.sizeHint().height());
    EXPECT_LT(fingerprint.mapTo(&box(), fingerprint.rect().bottomLeft()).y(),
              box().buttons().first()->mapTo(&box(), QPoint()).y());
    answerSheet(u"Cancel"_s);
}

TEST_F(CertificateSheetsTest, TrustIsAChoiceAndCancelWhatReturnAndEscapeMean)
{
    ask();
    answerSheet(u"Trust"_s);
    EXPECT_EQ(m_answer, true);

    for (const Qt::Key key : { Qt::Key_Return, Qt::Key_Escape }) {
        m_answer.reset();
        ASSERT_TRUE(waitFor([] { return shownSheets().isEmpty(); }));
        ask();
        EXPECT_EQ(box().defaultButton()->text(), u"Cancel"_s);

        QTest::keyClick(&box(), key);

        EXPECT_EQ(m_answer, false);
    }
}

TEST_F(CertificateSheetsTest, AServerCannotMakeTheSheetLargerThanItIs)
{
    ask();
    drainEventLoop();
    const QSize size = box().size();
    answerSheet(u"Cancel"_s);
    ASSERT_TRUE(waitFor([] { return shownSheets().isEmpty(); }));

    m_question.certificate.subject = u"CN="_s + QString(60'000, u'w');
    m_question.certificate.issuer = QString(60'000, u'\n');
    m_answer.reset();
    ask();
    drainEventLoop();

    EXPECT_EQ(box().size(), size);
    answerSheet(u"Cancel"_s);
}

TEST_F(CertificateSheetsTest, AChangedCertificateIsToldOfWithBothFingerprintsAndNoChoice)
{
    m_sheets.certificateHasChanged(m_question, QByteArray(32, '\x01'));

    ASSERT_EQ(shownSheets().size(), 1);
    EXPECT_TRUE(shownSheets().first().startsWith(u"The Server’s Certificate Has Changed: "_s));
    EXPECT_EQ(detail(u"Trusted (SHA-256)"_s)->text().remove(u'\n').remove(u':'), u"01"_s.repeated(32));
    EXPECT_EQ(detail(u"Shown (SHA-256)"_s)->text().remove(u'\n').remove(u':'), u"AB"_s.repeated(32));
    EXPECT_EQ(box().buttons().size(), 1);
    answerSheet();
}

TEST_F(CertificateSheetsTest, OfADamagedFileTheUserIsToldWhereItIsAndWhatForgettingDoes)
{
    for (const bool forgets : { false, true }) {
        std::optional<bool> answer;
        m_sheets.trustIsDamaged(u"/home/<b>/%1.json"_s, [&answer](bool isToForget) { answer = isToForget; });

        ASSERT_EQ(shownSheets().size(), 1);
        EXPECT_TRUE(shownSheets().first().startsWith(u"Trusted Certificates Not Readable: "_s));
        EXPECT_TRUE(shownSheets().first().contains(u"“/home/<b>/%1.json”"_s));
        EXPECT_TRUE(shownSheets().first().contains(u"“/home/<b>/%1.json.bak”"_s));
        EXPECT_FALSE(answer);
        answerSheet(forgets ? u"Forget"_s : u"Cancel"_s);
        EXPECT_EQ(answer, forgets);
        ASSERT_TRUE(waitFor([] { return shownSheets().isEmpty(); }));
    }
}

TEST_F(CertificateSheetsTest, ThatADamagedFileCannotBeForgottenIsTold)
{
    m_sheets.damageCannotBeForgotten(u"/home/<b>/%1.json"_s);

    ASSERT_EQ(shownSheets().size(), 1);
    EXPECT_TRUE(shownSheets().first().startsWith(u"Trusted Certificates Not Written: "_s));
    EXPECT_TRUE(shownSheets().first().contains(u"“/home/<b>/%1.json”"_s));
    answerSheet();
}

TEST_F(CertificateSheetsTest, WithoutAWindowNothingIsTrustedAndNothingForgotten)
{
    m_window.reset();

    ask();
    m_sheets.certificateHasChanged(m_question, QByteArray(32, 'x'));
    std::optional<bool> isToForget;
    m_sheets.trustIsDamaged(u"/x"_s, [&isToForget](bool answer) { isToForget = answer; });

    m_sheets.damageCannotBeForgotten(u"/x"_s);

    EXPECT_EQ(m_answer, false);
    EXPECT_EQ(isToForget, false);
    EXPECT_TRUE(shownSheets().isEmpty());
}

TEST_F(CertificateSheetsTest, AWindowThatGoesWhileItsSheetShowsAnswersNothing)
{
    ask();

    m_window.reset();
    drainEventLoop();

    EXPECT_FALSE(m_answer);
}

} // namespace
