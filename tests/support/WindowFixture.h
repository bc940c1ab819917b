#pragma once

#include "ViewController.h"

#include <QHash>
#include <QJsonValue>
#include <QLabel>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>

/// The window's controller with settings of its own, under a program name, and with a route to everywhere. All this is
/// put back at the end. The window does not show yet, and ticks come from the test as long as it does not run the loop.
///
/// A base of tests, behind another one with all that the controller uses, so that the controller goes first.
class WindowFixture {
public:
    WindowFixture(const WindowFixture&) = delete;
    WindowFixture& operator=(const WindowFixture&) = delete;

protected:
    using Settings = QHash<QString, QJsonValue>;

    /// @p streams and @p connections outlive the fixture.
    WindowFixture(FTPStreamFactory& streams, FTPConnections& connections, const Settings& settings,
                  const QString& programName = QStringLiteral("Quillbox"));
    ~WindowFixture();

    static void set(const Settings& settings);
    static void set(const QString& key, const QJsonValue& value) { set(Settings{ { key, value } }); }
    static void unset(const QString& key) { set(key, QJsonValue()); }

    /// Replaces the controller as the next start of the program does, and shows its window.
    void startAgain();

    /// A local file, and where it is.
    QString makeFile(const QString& name, const QByteArray& bytes = "hello") const;

    void tick() { m_controller->onTick(); }
    /// Whether nothing waits or moves.
    bool isIdle() const;
    /// Runs the loop until isIdle(). A listing that is due begins with a tick.
    bool waitUntilIdle(std::chrono::milliseconds limit = std::chrono::seconds(60));

    /// A widget or action of the main window or the one of manual transfers, which must be there.
    template <typename Control> Control& control(const char* name) const
    {
        for (const QWidget& window : { std::cref<QWidget>(m_controller->window()),
                                       std::cref<QWidget>(m_controller->windows().manualTransfers()) }) {
            if (auto* const found = window.findChild<Control*>(QString::fromLatin1(name))) {
                return *found;
            }
        }
        qFatal("No control is called %s.", name);
    }
    QString text(const char* label) const { return control<QLabel>(label).text(); }
    QStringList listedNames() const;

    QTemporaryDir m_directory; ///< For local files.
    FTPStreamFactory& m_factory;
    FTPConnections& m_factoryConnections;
    std::unique_ptr<ViewController> m_controller;

private:
    /// Destroys the controller. What runs is stopped with it, each stop counted.
    void destroyController();
};
