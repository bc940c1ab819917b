#pragma once

#include <QString>

#include <span>

/// A local file that is written from its beginning. Making the stream always succeeds: a file that cannot be opened
/// shows when it is written to or closed.
class FileOutputStream {
public:
    explicit FileOutputStream(QString path);
    FileOutputStream(const FileOutputStream&) = delete;
    FileOutputStream& operator=(const FileOutputStream&) = delete;
    ~FileOutputStream(); ///< Closes, whatever that answers.

    /// Creates the file, or empties the one that is there. Never follows a link: one in the file's place is removed.
    /// What is neither cannot be opened. Never waits, also not for a named pipe.
    void open();

    /// Writes up to @p data.size() bytes; answers how many, -1 on failure.
    [[nodiscard]] qint64 write(std::span<const char> data);

    /// False when the file could not be opened, written or closed: then its contents are not what was written.
    bool close();

private:
    QString m_path;
    int m_descriptor = -1;
    bool m_failed = false;
};
