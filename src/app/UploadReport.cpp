#include "UploadReport.h"

#include "TreePath.h"
#include "VisibleText.h"

#include <QObject>

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <unistd.h>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

bool isWritten(int stream, QByteArrayView bytes)
{
    while (!bytes.isEmpty()) {
        const ssize_t count = ::write(stream, bytes.data(), static_cast<size_t>(bytes.size()));
        if (count < 0 && errno == EAGAIN) { // Somebody who has the same stream does not want to wait for its reader.
            pollfd room{ .fd = stream, .events = POLLOUT, .revents = 0 };
            ::poll(&room, 1, -1);
        } else if (count < 0 && errno != EINTR) {
            return false;
        }
        bytes = bytes.sliced(std::max<qsizetype>(count, 0));
    }
    return true;
}

} // namespace

QString alertLine(const QString& title, const QString& text)
{
    return title + u". "_s + QString(text).replace(u"\n\n"_s, u" "_s);
}

UploadReport::UploadReport(const QStringList& files)
{
    for (const QString& file : files) {
        m_files.append(TreePath::plain(file)); // As they are told.
    }
}

void UploadReport::ended(const QList<FileEnd>& files)
{
    for (const FileEnd& file : files) {
        ++m_told[file.path];
    }
    print(STDOUT_FILENO, files);
}

void UploadReport::corrected(const QList<FileEnd>& files)
{
    print(STDERR_FILENO, files);
}

void UploadReport::problem(const QString& why)
{
    print(STDERR_FILENO, u"Quillbox: "_s + why + u'\n');
}

void UploadReport::rest(const QString& words)
{
    QList<FileEnd> files;
    for (const QString& file : m_files) {
        if (int& told = m_told[file]; told > 0) {
            --told;
        } else {
            files.append({ file, words });
        }
    }
    print(STDOUT_FILENO, files);
}

void UploadReport::whenPrinted(QObject* context, std::function<void()> then)
{
    m_printer.post(
        [context, then = std::move(then)] { QMetaObject::invokeMethod(context, then, Qt::QueuedConnection); });
}

bool UploadReport::finish(std::chrono::milliseconds limit)
{
    return m_printer.finish(limit) && *m_isPrinted;
}

void UploadReport::print(int stream, const QList<FileEnd>& files)
{
    QString text;
    for (const FileEnd& file : files) {
        text += wholeVisibleText(file.path) + u'\t' + file.words + u'\n';
    }
    print(stream, text);
}

void UploadReport::print(int stream, const QString& text)
{
    m_printer.post([stream, bytes = text.toLocal8Bit(), isPrinted = m_isPrinted] {
        if (!isWritten(stream, bytes) && stream == STDOUT_FILENO) {
            *isPrinted = false;
        }
    });
}
