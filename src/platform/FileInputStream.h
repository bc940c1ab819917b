#pragma once

#include <QByteArray>
#include <QString>

#include <memory>
#include <span>

/// A local file, read from its beginning as it was when the stream was made: what is appended meanwhile is not part of
/// it, and a file that ends early is an error. Some file systems (procfs, a few in user space) give 0 as the size of
/// files that have bytes; these are read when the stream is made, up to lengthLimit.
class FileInputStream {
public:
    static constexpr qint64 lengthLimit = qint64(1) << 20; ///< Bytes of a file whose size is given as 0.

    /// Opens the regular file at @p path for reading, through links. Null when the path does not open or leads to
    /// something else; never waits, also not for a named pipe.
    static std::unique_ptr<FileInputStream> create(const QString& path);

    FileInputStream(const FileInputStream&) = delete;
    FileInputStream& operator=(const FileInputStream&) = delete;
    ~FileInputStream(); ///< Closes.

    /// Bytes from the beginning to the end, fixed when the stream was made; -1 for a file whose size is given as 0 and
    /// that cannot be read or has more than lengthLimit bytes. Its reads answer -1.
    qint64 length() const { return m_length; }

    /// Reads up to @p buffer.size() bytes; answers how many, 0 at the end, -1 on failure and when the file has ended
    /// before its length.
    [[nodiscard]] qint64 read(std::span<char> buffer);

    /// Reads answer -1 from then on.
    void close();

private:
    FileInputStream(int descriptor, qint64 length);

    void readWhole();
    qint64 readSome(std::span<char> buffer) const;

    int m_descriptor;
    qint64 m_length;
    qint64 m_position = 0;
    QByteArray m_bytes; ///< The whole of a file whose size was given as 0.
};
