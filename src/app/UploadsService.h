#pragma once

#include "PathList.h"
#include "RequestWatch.h"

#include <QByteArrayList>
#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QHash>

#include <functional>
#include <map>
#include <memory>

/// Uploads files for other programs on the session bus, and tells each what becomes of its own. A caller adds its files
/// in pieces and starts them, once at a time; when it goes away it is forgotten, and what was started goes up all the
/// same. Signals go to the caller alone: Ended(aay paths, as words) and Corrected(aay paths, as words), as RequestWatch
/// tells them, and Over(b haveAllArrived, b haveAllJoined) at the end.
class UploadsService final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "io.github.quillbox.Quillbox.Uploads")

public:
    struct Handler {
        /// Has these files join the queue, and answers what follows them. Null when the program ends.
        std::function<std::unique_ptr<RequestWatch>(const PathList& files, bool isUnattended)> upload;
        std::function<void()> becameIdle; ///< isIdle() holds again.
    };

    /// Answers calls over @p bus through @p handler, as a child of @p parent.
    UploadsService(QObject* parent, const QDBusConnection& bus, Handler handler);

    /// Whether nobody waits.
    bool isIdle() const { return m_watches.empty(); }
    /// The program ends: all who wait are told so, and the messages are on their way when this returns.
    void programEnds();

public slots: // NOLINT(readability-redundant-access-specifiers): moc tells the two apart
    // The names are those of the interface.
    // NOLINTBEGIN(readability-identifier-naming)
    void Add(const QByteArrayList& paths, const QDBusMessage& call);
    void Start(bool isUnattended, const QDBusMessage& call);
    // NOLINTEND(readability-identifier-naming)

private:
    void start(const PathList& wanted, bool isUnattended, const QDBusMessage& call);
    void send(const QDBusMessage& call, const QString& signal, const QVariantList& arguments);
    void sendFiles(const QDBusMessage& call, const QString& signal, const QList<FileEnd>& files);
    void forget(const QString& caller);

    QDBusConnection m_bus;
    Handler m_handler;
    QDBusServiceWatcher m_callers;
    QHash<QString, PathList> m_added; ///< By caller, what is not started yet.
    std::map<QString, std::unique_ptr<RequestWatch>> m_watches; ///< By caller.
};
