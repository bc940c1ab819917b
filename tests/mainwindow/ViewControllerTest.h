#pragma once

#include "FakeWindowTest.h"
#include "NetworkManager.h"
#include "ProgramName.h"
#include "Sheets.h"
#include "UserDefaults.h"
#include "WaitFor.h"

#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

/// The sheet that refuses an action on an item while a file goes up.
inline const QString waitForUpload = u"Cannot Download: Wait for the current upload to complete."_s;

/// The window's controller on an off-screen display, with fake streams. It shows, and the first tick has been.
class ViewControllerTest : public FakeWindowTest {
protected:
    using Kind = FakeFTPStream::Kind;

    ViewControllerTest()
        : FakeWindowTest({ { u"Address"_s, u"host"_s },
                           { u"Username"_s, u"anna"_s },
                           { u"Password"_s, u"secret"_s },
                           { u"FTPFolder"_s, u"in"_s } })
    {
        m_controller->window().show();
        tick();
    }

    /// Ends the run, and begins another one with the same ledger, at @p path. What that one has found there is known.
    void startAgainWithLedger(const QString& path)
    {
        using namespace std::chrono_literals;
        EXPECT_TRUE(m_controller->ledger().close(60s));
        startAgain();
        m_controller->ledger().open(path, u"Quillbox"_s);
        EXPECT_TRUE(m_controller->ledger().close(60s));
        QApplication::processEvents();
    }

    QPushButton& button(const char* name) { return control<QPushButton>(name); }
    QProgressBar& bar(const char* name) { return control<QProgressBar>(name); }

    /// Has the window show half of a transfer.
    void showHalf()
    {
        m_controller->percentDone(50);
        m_controller->bytesDone(7);
        tick();
        ASSERT_EQ(progress(), half);
    }
    /// What the bars and the byte count show, as "percent, percent in the auxiliary window, bytes".
    QString progress()
    {
        return u"%1, %2, %3"_s.arg(QString::number(bar("percentProgressIndicator").value()),
                                   QString::number(bar("auxiliaryPercentProgressIndicator").value()),
                                   text("bytesFormattedTextField"));
    }

    /// Answers the next prompt with @p text, or cancels it when that is null.
    void answerPrompt(const QString& text)
    {
        QObject::connect(&m_promptTimer, &QTimer::timeout, &m_promptTimer, [this, text] {
            if (auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
                auto* const field = dialog->findChild<QLineEdit*>();
                m_promptTimer.stop();
                m_promptTimer.disconnect();
                m_prompt = dialog->findChild<QLabel*>()->text();
                m_promptDefault = field->text();
                field->setText(text);
                dialog->done(text.isNull() ? QDialog::Rejected : QDialog::Accepted);
            }
        });
        m_promptTimer.start(1);
    }

    QTimer m_promptTimer;
    QString m_prompt; ///< The latest question that answerPrompt() has answered.
    QString m_promptDefault = u"not asked"_s; ///< What its field held.

    const QString half = u"50, 50, 7 bytes"_s; ///< The progress() after showHalf().
    /// What a stream is told of the user in the settings, before anything else.
    const QStringList login{ u"setUserName anna"_s, u"setPassword secret"_s };
};
