#pragma once

#include <QByteArray>
#include <QString>

/// A file system of one MiB, mounted on an existing folder for this process alone. Needs root or the right of ordinary
/// users to make namespaces; problem() says what is missing.
class SmallDisk {
public:
    explicit SmallDisk(const QString& folder);
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;
    ~SmallDisk();

    /// Empty when the disk is there.
    const QByteArray& problem() const { return m_problem; }

private:
    bool makeNamespaces();

    QByteArray m_folder;
    QByteArray m_problem;
};
