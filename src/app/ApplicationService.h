#pragma once

#include "PathList.h"

#include <QDBusAbstractAdaptor>
#include <QDBusMessage>
#include <QStringList>
#include <QVariantMap>

#include <functional>
#include <optional>

class QDBusConnection;

/// One running program for each program name: the first one answers under a bus name of its own on the session bus, as
/// org.freedesktop.Application describes, and later starts hand their files to it. A call that comes while the main
/// loop is suspended (LoopSuspension) is served, and answered, once it is resumed.
class ApplicationService final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    struct Handler {
        std::function<void()> activate; ///< Bring the window to the front.
        /// Take these local files, absolute paths, and know of other URIs that came with them. False when nothing is
        /// taken any more, because the program ends: the call stays without an answer, and its caller hears of the end.
        std::function<bool(const PathList& files, const QStringList& others)> open;
        std::function<void(const QString&)> action; ///< Do what the launcher's action of that name says, if known.
    };

    /// Answers calls through @p handler, as a child of @p parent.
    ApplicationService(QObject* parent, Handler handler);

    /// The object that answers under the bus name @p name.
    static QString objectPath(const QString& name);
    static constexpr int callTimeoutMs = 10'000; ///< How long a start waits for the running program's answer.

    /// Asks the session bus whether the program of that name runs. @p answer is called from the loop, unless @p context
    /// is gone by then; std::nullopt: not known, as there is no bus.
    static void askWhetherRuns(const QDBusConnection& bus, const QString& programName, QObject* context,
                               std::function<void(std::optional<bool>)> answer);

    enum class HandOver {
        NobodyRuns, ///< No program of that name, or none any more, or there is no session bus.
        Taken, ///< The files are in the running program's queue.
        Refused,
        Unanswered, ///< It may take the files later, or never.
    };

    /// Whether a program of that name runs; no without a @p bus.
    static bool isRunning(const QDBusConnection& bus, const QString& programName);
    /// Hands @p files and @p action (null for none) to the running program of that name, or only activates it when
    /// there is neither.
    static HandOver handOver(const QDBusConnection& bus, const QString& programName, const QStringList& files,
                             const QString& action);
    /// Whether a program of that name runs that has a server of its own where this one has none, or none where this one
    /// has: it was started by an icon that there is no more, and would upload what it is handed to another server.
    static bool hasOtherServer(const QDBusConnection& bus, const QString& programName);
    /// Answers from now on under the name of @p programName. False without a session bus, and when the name is taken.
    bool registerFor(QDBusConnection bus, const QString& programName);

public slots: // NOLINT(readability-redundant-access-specifiers): moc tells the two apart
    // The names are those of the interface.
    // NOLINTBEGIN(readability-identifier-naming)
    void Activate(const QVariantMap& platformData, const QDBusMessage& call);
    void Open(const QStringList& uris, const QVariantMap& platformData, const QDBusMessage& call);
    void ActivateAction(const QString& name, const QVariantList& parameter, const QVariantMap& platformData,
                        const QDBusMessage& call);
    // NOLINTEND(readability-identifier-naming)

private:
    void serve(const QDBusMessage& call, std::function<bool()> service);

    Handler m_handler;
};
