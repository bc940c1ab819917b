#include "CertificateText.h"

#include "DateText.h"
#include "Printers.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

const QDateTime today(QDate(2026, 6, 1), QTime(12, 0), Qt::UTC);

CertificateQuestion questionAbout(const QList<CertificateProblem>& problems)
{
    CertificateQuestion question;
    question.host = u"ftp.example"_s;
    question.port = 2121;
    question.certificate.validFrom = today.addDays(-10);
    question.certificate.validUntil = today.addDays(10);
    question.certificate.problems = problems;
    return question;
}

TEST(CertificateTextTest, EveryProblemIsNamed)
{
    const QList<std::pair<CertificateProblem, QString>> problems{
        { CertificateProblem::SelfSigned, u"It vouches for itself: nobody that this computer trusts has signed it."_s },
        { CertificateProblem::UnknownIssuer, u"Nobody that this computer trusts has signed it."_s },
        { CertificateProblem::Expired, u"One that it depends on has expired."_s },
        { CertificateProblem::NotYetValid, u"One that it depends on is not valid yet."_s },
        { CertificateProblem::WrongHost, u"It was made for no server, not for “ftp.example”."_s },
        { CertificateProblem::Revoked, u"Who signed it has taken it back."_s },
        { CertificateProblem::Invalid,
          u"It is not sound: its signature is wrong or too weak, or it was made for another purpose."_s },
    };
    QList<CertificateProblem> all;
    QStringList texts;
    for (const auto& [problem, text] : problems) {
        EXPECT_EQ(problemTexts(questionAbout({ problem }), today), QStringList{ text });
        all.append(problem);
        texts.append(text);
    }
    EXPECT_EQ(problemTexts(questionAbout(all), today), texts);
}

TEST(CertificateTextTest, ItsOwnDatesAreTold)
{
    CertificateQuestion question = questionAbout({ CertificateProblem::Expired });
    question.certificate.validUntil = today.addSecs(-1);
    EXPECT_EQ(problemTexts(question, today),
              QStringList{ u"It expired on %1."_s.arg(shortDateShortTimeText(today.addSecs(-1))) });

    question = questionAbout({ CertificateProblem::NotYetValid });
    question.certificate.validFrom = today.addSecs(60);
    EXPECT_EQ(problemTexts(question, today),
              QStringList{ u"It is not valid before %1."_s.arg(shortDateShortTimeText(today.addSecs(60))) });
    question.certificate.validUntil = QDateTime();
    EXPECT_EQ(validityText(question.certificate),
              u"%1 to an unknown date"_s.arg(shortDateShortTimeText(today.addSecs(60))));
}

TEST(CertificateTextTest, WhomItWasMadeForIsShownAndNotObeyed)
{
    CertificateQuestion question = questionAbout({ CertificateProblem::WrongHost });
    question.certificate.hosts = { u"other\u202e.example"_s };
    EXPECT_EQ(problemTexts(question, today),
              QStringList{ u"It was made for “other⟨U+202E⟩.example”, not for “ftp.example”."_s });

    question.certificate.hosts = { u"a"_s, u"b"_s, u"c"_s, u"d"_s };
    EXPECT_EQ(problemTexts(question, today),
              QStringList{ u"It was made for “a”, “b”, “c”, others, not for “ftp.example”."_s });
}

TEST(CertificateTextTest, ANameThatTheServerChoseStaysAName)
{
    CertificateQuestion question = questionAbout({ CertificateProblem::WrongHost });
    question.certificate.hosts = { u"begin "_s + u"x "_s.repeated(500) + u"end"_s };

    EXPECT_EQ(problemTexts(question, today),
              QStringList{ u"It was made for “begin x x x x x x x x x x x x … x x x x x x x x x x x x x end”, not for "
                           "“ftp.example”."_s });
}

TEST(CertificateTextTest, ServersAreToldWithTheirPort)
{
    CertificateQuestion question = questionAbout({});
    EXPECT_EQ(serverText(question), u"ftp.example, port 2121"_s);

    question.host = u"::1"_s;
    EXPECT_EQ(serverText(question), u"[::1], port 2121"_s);
}

TEST(CertificateTextTest, FingerprintsStandInTwoLines)
{
    const QByteArray fingerprint = QByteArray(16, '\xab') + QByteArray(16, '\x01');

    EXPECT_EQ(fingerprintLines(fingerprint),
              u"AB:AB:AB:AB:AB:AB:AB:AB:AB:AB:AB:AB:AB:AB:AB:AB\n01:01:01:01:01:01:01:01:01:01:01:01:01:01:01:01"_s);
    EXPECT_EQ(fingerprintLines({}), u"\n"_s);
}

} // namespace
