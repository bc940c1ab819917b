#pragma once

#include <QString>

#include <memory>
#include <span>

/// A local file, read from its beginning as it was when the stream was made: what is appended meanwhile is not part of
/// it, and a file that ends early is an error.
class FileInputStream {
public:
    /// Opens the regular file at @p path for reading, through links. Null when the path does not open or leads to
    /// something else; never waits, also not for a named pipe.
    static std::unique_ptr<FileInputStream> create(const QString& path);

    FileInputStream(const FileInputStream&) = delete;
    FileInputStream& operator=(const FileInputStream&) = delete;
    ~FileInputStream(); ///< Closes.

    /// Bytes from the beginning to the end, fixed when the stream was made.
    qint64 length() const { return m_length; }

    /// Reads up to @p buffer.size() bytes; answers how many, 0 at the end, -1 on failure and when the file has ended
    /// before its length.
    [[nodiscard]] qint64 read(std::span<char> buffer);

    /// Reads answer -1 from then on.
    void close();

private:
    FileInputStream(int descriptor, qint64 length);

    int m_descriptor;
    qint64 m_length;
    qint64 m_position = 0;
};
