#pragma once

#include "FileInputStream.h"

#include <QByteArray>
#include <QtGlobal>

#include <memory>
#include <span>

namespace quillbox {

/// What an upload sends: bytes in memory or a local file.
class UploadSource {
public:
    virtual ~UploadSource() = default;

    /// Bytes from the beginning to the end.
    virtual qint64 length() const = 0;
    /// Reads up to @p buffer.size() bytes; answers how many, 0 at the end, -1 on failure.
    [[nodiscard]] virtual qint64 read(std::span<char> buffer) = 0;
};

/// Bytes in memory.
class DataSource final : public UploadSource {
public:
    explicit DataSource(QByteArray data);

    qint64 length() const override { return m_data.size(); }
    qint64 read(std::span<char> buffer) override;

private:
    QByteArray m_data;
    qsizetype m_position = 0;
};

/// A local file as it was when it was opened.
class FileSource final : public UploadSource {
public:
    /// Null when there is no regular file at @p path that opens for reading, and when its length cannot be told.
    static std::unique_ptr<FileSource> create(const QString& path);

    qint64 length() const override { return m_file->length(); }
    qint64 read(std::span<char> buffer) override { return m_file->read(buffer); }

private:
    explicit FileSource(std::unique_ptr<FileInputStream> file);

    std::unique_ptr<FileInputStream> m_file;
};

} // namespace quillbox

using quillbox::DataSource;
using quillbox::FileSource;
using quillbox::UploadSource;
