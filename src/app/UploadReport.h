#pragma once

#include "RequestWatch.h"
#include "TaskThread.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

/// An alert as one line.
QString alertLine(const QString& title, const QString& text);

/// Prints what becomes of files that were named on the command line: a line for each, its path, a tab and the words. It
/// prints on a thread of its own: whoever reads the lines may take long, or never come.
class UploadReport {
public:
    /// @p files: absolute paths.
    explicit UploadReport(const QStringList& files);

    /// To the standard output.
    void ended(const QList<FileEnd>& files);
    /// Those that have a line already: to the standard error.
    void corrected(const QList<FileEnd>& files);
    /// @p why, a sentence, to the standard error.
    void problem(const QString& why);
    /// The rest of the files, of which nothing more is going to be heard.
    void rest(const QString& words);
    /// Calls @p then from the loop of @p context, which outlives the report, as soon as all so far is printed.
    void whenPrinted(QObject* context, std::function<void()> then);

    static constexpr std::chrono::hours patience{ 24 }; ///< With a reader for whom alone the process is still there.

    /// Waits until all is printed, for @p limit at most. False when a line for a file could not be.
    bool finish(std::chrono::milliseconds limit = patience);

private:
    void print(int stream, const QString& text);
    void print(int stream, const QList<FileEnd>& files);

    QStringList m_files;
    QHash<QString, int> m_told; ///< How often.
    std::shared_ptr<std::atomic<bool>> m_isPrinted = std::make_shared<std::atomic<bool>>(true); ///< Each line so far.
    TaskThread m_printer;
};
