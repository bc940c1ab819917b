#include "CertificateQuestions.h"

#include "RecordingJudge.h"
#include "WaitFor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

/// One who waits for an answer.
struct Asker {
    void ask(CertificateQuestions& questions, CertificateTrust& trust, const CertificateQuestion& question)
    {
        questions.ask(trust, question, &context, [this](bool isTrusted) { verdict = isTrusted; });
    }

    QObject context;
    std::optional<bool> verdict;
};

class CertificateQuestionsTest : public ::testing::Test {
protected:
    static CertificateQuestion question(const QString& host = u"host"_s, quint16 port = 21,
                                        const QByteArray& fingerprint = "print")
    {
        CertificateQuestion made{ host, port, {} };
        made.certificate.fingerprint = fingerprint;
        return made;
    }

    RecordingJudge m_judge;
    RecordingJudge m_otherJudge;
    CertificateQuestions m_questions;
    Asker m_first;
    Asker m_second;
};

TEST_F(CertificateQuestionsTest, ManyWaitForOneAnswerToTheSameQuestion)
{
    m_first.ask(m_questions, m_judge, question());
    m_second.ask(m_questions, m_judge, question());
    ASSERT_EQ(m_judge.questions.size(), 1U);

    m_judge.answers.front()(true);

    EXPECT_FALSE(m_first.verdict); // From the loop.
    drainEventLoop();
    EXPECT_EQ(m_first.verdict, true);
    EXPECT_EQ(m_second.verdict, true);
}

TEST_F(CertificateQuestionsTest, AnAnswerCountsForThatCertificateOfThatServerAndThatJudgeAlone)
{
    struct Row {
        CertificateQuestion question;
        RecordingJudge& judge;
    };
    for (const Row& row : {
             Row{ question(u"other"_s), m_judge },
             Row{ question(u"host"_s, 2121), m_judge },
             Row{ question(u"host"_s, 21, "other print"), m_judge },
             Row{ question(), m_otherJudge },
         }) {
        SCOPED_TRACE(row.question.certificate.fingerprint.toStdString());
        Asker first;
        Asker second;
        first.ask(m_questions, m_judge, question());
        const std::function<void(bool)> answerFirst = m_judge.answers.back();

        second.ask(m_questions, row.judge, row.question);
        row.judge.answers.back()(false);
        drainEventLoop();
        EXPECT_EQ(second.verdict, false);
        EXPECT_FALSE(first.verdict);

        answerFirst(true);
        drainEventLoop();
        EXPECT_EQ(first.verdict, true);
        EXPECT_EQ(second.verdict, false);
    }
}

TEST_F(CertificateQuestionsTest, WhatHasBeenAnsweredIsAskedAnew)
{
    m_first.ask(m_questions, m_judge, question());
    m_judge.answers.front()(true);

    m_second.ask(m_questions, m_judge, question());

    ASSERT_EQ(m_judge.questions.size(), 2U);
    m_judge.answers.back()(false);
    drainEventLoop();
    EXPECT_EQ(m_first.verdict, true);
    EXPECT_EQ(m_second.verdict, false);
}

TEST_F(CertificateQuestionsTest, ASecondAnswerToAQuestionChangesNothing)
{
    m_first.ask(m_questions, m_judge, question());
    m_judge.answers.front()(false);
    m_judge.answers.front()(true);
    drainEventLoop();

    EXPECT_EQ(m_first.verdict, false);
}

TEST_F(CertificateQuestionsTest, WhoIsGoneHearsNoAnswer)
{
    bool isTold = false;
    auto context = std::make_unique<QObject>();
    m_questions.ask(m_judge, question(), context.get(), [&isTold](bool) { isTold = true; });
    m_first.ask(m_questions, m_judge, question());
    m_judge.answers.front()(true);

    context.reset(); // On the way to it.
    drainEventLoop();

    EXPECT_FALSE(isTold);
    EXPECT_EQ(m_first.verdict, true);
}

TEST_F(CertificateQuestionsTest, AnAnswerMayComeWhenNobodyCollectsQuestionsAnyMore)
{
    {
        CertificateQuestions questions;
        m_first.ask(questions, m_judge, question());
    }

    m_judge.answers.front()(true);
    drainEventLoop();

    EXPECT_FALSE(m_first.verdict);
}

} // namespace
