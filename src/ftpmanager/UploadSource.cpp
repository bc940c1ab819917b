#include "UploadSource.h"

#include <algorithm>
#include <utility>

namespace quillbox {

DataSource::DataSource(QByteArray data)
    : m_data(std::move(data))
{
}

qint64 DataSource::read(std::span<char> buffer)
{
    const qsizetype count = std::min(m_data.size() - m_position, static_cast<qsizetype>(buffer.size()));
    std::copy_n(m_data.cbegin() + m_position, count, buffer.begin());
    m_position += count;
    return count;
}

std::unique_ptr<FileSource> FileSource::create(const QString& path)
{
    std::unique_ptr<FileInputStream> file = FileInputStream::create(path);
    return file != nullptr && file->length() >= 0 ? std::unique_ptr<FileSource>(new FileSource(std::move(file)))
                                                  : nullptr;
}

FileSource::FileSource(std::unique_ptr<FileInputStream> file)
    : m_file(std::move(file))
{
}

} // namespace quillbox
