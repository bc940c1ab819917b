#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

/// A file whose name consists of any bytes, which the toolkit cannot make, find or remove.
class FileOfBytes {
public:
    FileOfBytes(const QString& folder, const QByteArray& name, const QByteArray& content = {})
        : m_path(QFile::encodeName(folder) + '/' + name)
    {
        const int descriptor = ::open(m_path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        EXPECT_EQ(::write(descriptor, content.constData(), static_cast<size_t>(content.size())), content.size());
        ::close(descriptor);
    }
    FileOfBytes(const FileOfBytes&) = delete;
    FileOfBytes& operator=(const FileOfBytes&) = delete;
    ~FileOfBytes() { ::unlink(m_path.constData()); }

    const QByteArray& path() const { return m_path; }

private:
    QByteArray m_path;
};
