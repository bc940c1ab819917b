#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

/// A message bus of the test's own, with a connection for the program and one for a stand-in of a desktop's service.
/// The daemon ends with the test.
class PrivateBus {
public:
    PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;
    ~PrivateBus();

    /// The program's connection.
    QDBusConnection connection() const { return QDBusConnection(programName); }
    /// Where others can connect to it.
    QString address() const { return m_address; }
    /// Has one of the stand-ins of DesktopServices.h answer.
    template <typename Service> void serve(Service& service) { serve(Service::name, Service::path, service); }
    /// Sends @p message as the service.
    bool sendFromService(const QDBusMessage& message) { return serviceConnection().send(message); }
    /// The service's connection, to listen to what is broadcast.
    QDBusConnection serviceConnection() const { return QDBusConnection(serviceName); }

private:
    void serve(const QString& name, const QString& path, QObject& object);

    static inline const QString programName = QStringLiteral("private-program");
    static inline const QString serviceName = QStringLiteral("private-service");

    QTemporaryDir m_folder;
    QString m_address;
    QProcess m_daemon;
};
