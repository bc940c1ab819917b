#pragma once

#include "FakeFTPStream.h"
#include "NetworkManager.h"
#include "Printers.h"
#include "ProgramName.h"
#include "Sheets.h"
#include "UserDefaults.h"
#include "ViewController.h"
#include "WaitFor.h"

#include <QFile>
#include <QInputDialog>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

#include <memory>

using namespace Qt::StringLiterals;

/// The sheet that refuses an action on an item while a file goes up.
inline const QString waitForUpload = u"Cannot Download: Wait for the current upload to complete."_s;

/// The window's controller on an off-screen display, with fake streams and settings of its own. Ticks come from the
/// test: the timer has no chance to fire, unless the test runs the loop.
class ViewControllerTest : public ::testing::Test {
protected:
    using Kind = FakeFTPStream::Kind;

    ViewControllerTest()
    {
        setProgramFileName(u"Quillbox"_s);
        NetworkManager::setReachabilitySource([] { return ReachabilityFlags(ReachabilityFlag::Reachable); });
        set({ { u"Address"_s, u"host"_s },
              { u"Username"_s, u"anna"_s },
              { u"Password"_s, u"secret"_s },
              { u"FTPFolder"_s, u"in"_s } });
        m_controller = std::make_unique<ViewController>(m_streams);
        m_controller->window().show();
        tick();
    }

    ~ViewControllerTest() override
    {
        // What runs is stopped with the controllers, each stop counted.
        NetworkManager::sharedInstance().setNetworkOperationCount(100);
        m_controller.reset();
        NetworkManager::sharedInstance().setNetworkOperationCount(0);
        NetworkManager::setReachabilitySource(nullptr);
        QFile::remove(UserDefaults::standard().filePath());
        setProgramFileName(QString());
    }

    static void set(const QHash<QString, QJsonValue>& values) { ASSERT_TRUE(UserDefaults::standard().store(values)); }
    static void unset(const QString& key) { set({ { key, QJsonValue() } }); }

    QString makeFile(const QString& name, const QByteArray& contents = "hello")
    {
        QFile file(m_directory.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(contents);
        return file.fileName();
    }

    void tick() { m_controller->onTick(); }

    template <typename Widget> Widget& control(const char* name)
    {
        auto* widget = m_controller->window().findChild<Widget*>(QString::fromLatin1(name));
        if (widget == nullptr) {
            widget = m_controller->auxiliaryWindow().findChild<Widget*>(QString::fromLatin1(name));
        }
        EXPECT_NE(widget, nullptr) << name;
        return *widget;
    }
    QString text(const char* label) { return control<QLabel>(label).text(); }
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

    /// The latest stream of one kind, which must be there.
    FakeFTPStream& latest(Kind kind)
    {
        FakeFTPStream* found = nullptr;
        for (const auto& stream : m_streams.streams()) {
            if (stream->kind == kind) {
                found = stream.get();
            }
        }
        EXPECT_NE(found, nullptr);
        return *found;
    }
    FakeFTPStream& upload() { return latest(Kind::Upload); }
    qsizetype count(Kind kind) const
    {
        return std::count_if(m_streams.streams().begin(), m_streams.streams().end(),
                             [kind](const auto& stream) { return stream->kind == kind; });
    }

    /// Lets the running upload of a short file succeed.
    void finishUpload()
    {
        FakeFTPStream& stream = upload();
        stream.sendOpenCompleted();
        while (stream.isOpen()) {
            stream.sendHasSpace();
        }
    }

    /// Answers the next prompt with @p text, or cancels it when that is null.
    void answerPrompt(const QString& text)
    {
        QObject::connect(&m_promptTimer, &QTimer::timeout, &m_promptTimer, [this, text] {
            if (auto* const dialog = qobject_cast<QInputDialog*>(QApplication::activeModalWidget())) {
                m_promptTimer.stop();
                m_promptTimer.disconnect();
                m_prompt = dialog->labelText();
                m_promptDefault = dialog->textValue();
                dialog->setTextValue(text);
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

    QTemporaryDir m_directory;
    FakeStreamFactory m_streams;
    std::unique_ptr<ViewController> m_controller;
};
