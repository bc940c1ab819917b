#pragma once

#include "RequestWatch.h"

#include <QByteArrayList>
#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QStringList>

class QDBusError;

/// Has a running program upload files (UploadsService), and hears what becomes of them. Belongs to one thread.
class UploadsClient final : public QObject {
    Q_OBJECT

public:
    /// @p programName: the running program's.
    UploadsClient(const QDBusConnection& bus, const QString& programName);

    /// Hands @p files over, once.
    void upload(const QStringList& files, bool areUnattended);

signals:
    /// The files are in the program's queue.
    void taken();
    /// They are not, and never will be: @p why is a sentence.
    void refused(const QString& why);
    /// Nobody knows.
    void unanswered();
    void ended(const QList<FileEnd>& files);
    void corrected(const QList<FileEnd>& files);
    /// Without @p haveAllJoined some files have not been told of: the program ends.
    void over(bool haveAllArrived, bool haveAllJoined);
    /// The program has gone. Once.
    void lost();
    void busLost();

private slots: // NOLINT(readability-redundant-access-specifiers): moc tells the two apart
    void receiveEnded(const QByteArrayList& paths, const QStringList& words);
    void receiveCorrected(const QByteArrayList& paths, const QStringList& words);

private: // NOLINT(readability-redundant-access-specifiers): likewise
    void addNext();
    void tellOfLoss();
    void refuse(const QDBusError& error, bool mayBeTaken);

    QDBusConnection m_bus;
    QString m_name; ///< On the bus.
    QString m_path; ///< Of its object.
    QDBusServiceWatcher m_program;
    QByteArrayList m_files;
    qsizetype m_added = 0;
    bool m_areUnattended = false;
    bool m_isLost = false;
};
