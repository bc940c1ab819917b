#include "TextPrompt.h"

#include "ModalState.h"
#include "Printers.h"

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

/// Calls @p act with the prompt as soon as it shows.
void whenShown(QObject& context, std::function<void(QDialog&)> act)
{
    auto* const timer = new QTimer(&context);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, act = std::move(act)] {
        if (auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
            timer->stop();
            act(*dialog);
        }
    });
    timer->start(1);
}

class TextPromptTest : public ::testing::Test {
protected:
    QObject m_context;
};

TEST_F(TextPromptTest, AnswersTheTextThatWasTyped)
{
    bool wasSuspended = false;
    QString label;
    whenShown(m_context, [&wasSuspended, &label](QDialog& dialog) {
        wasSuspended = isMainLoopSuspended();
        label = dialog.findChild<QLabel*>()->text();
        auto* const field = dialog.findChild<QLineEdit*>();
        field->clear();
        QTest::keyClicks(field, u" new name "_s);
        QTest::keyClick(field, Qt::Key_Return);
    });

    EXPECT_EQ(promptForText(nullptr, u"Title"_s, u"Name?"_s, u"old"_s), u" new name "_s);
    EXPECT_TRUE(wasSuspended);
    EXPECT_EQ(label, u"Name?"_s);
}

TEST_F(TextPromptTest, ThePromptIsNotTheTitleTooAndIsNeverTakenAsMarkup)
{
    QString title;
    std::optional<Qt::TextFormat> format;
    whenShown(m_context, [&title, &format](QDialog& dialog) {
        title = dialog.windowTitle();
        format = dialog.findChild<QLabel*>()->textFormat();
        dialog.accept();
    });

    promptForText(nullptr, u"Title"_s, u"<b>Name</b>?"_s, u""_s);

    EXPECT_EQ(title, u"Title"_s);
    EXPECT_EQ(format, Qt::PlainText);
}

TEST_F(TextPromptTest, OffersTheDefault)
{
    whenShown(m_context, [](QDialog& dialog) { dialog.accept(); });

    EXPECT_EQ(promptForText(nullptr, u"Title"_s, u"Name?"_s, u"old"_s), u"old"_s);
}

TEST_F(TextPromptTest, AnEmptyTextIsAnAnswerAndCancelIsNone)
{
    whenShown(m_context, [](QDialog& dialog) { dialog.accept(); });
    const QString empty = promptForText(nullptr, u"Title"_s, u"Name?"_s, u""_s);
    whenShown(m_context, [](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
    const QString cancelled = promptForText(nullptr, u"Title"_s, u"Name?"_s, u"old"_s);

    EXPECT_TRUE(empty.isEmpty());
    EXPECT_FALSE(empty.isNull());
    EXPECT_TRUE(cancelled.isNull());
}

} // namespace
