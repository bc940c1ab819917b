#pragma once

#include "RequestWatch.h"

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

/// An alert as one line.
QString alertLine(const QString& title, const QString& text);

/// Prints what becomes of files that were named on the command line: a line for each, its path, a tab and the words.
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

private:
    QStringList m_files;
    QHash<QString, int> m_told; ///< How often.
};
