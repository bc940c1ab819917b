#include "UploadReport.h"

#include "TreePath.h"
#include "VisibleText.h"

#include <QTextStream>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

void print(QTextStream& out, const QList<FileEnd>& files)
{
    for (const FileEnd& file : files) {
        out << wholeVisibleText(file.path) << '\t' << file.words << '\n';
    }
    out.flush();
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
    QTextStream out(stdout);
    print(out, files);
}

void UploadReport::corrected(const QList<FileEnd>& files)
{
    QTextStream err(stderr);
    print(err, files);
}

void UploadReport::problem(const QString& why)
{
    QTextStream(stderr) << "Quillbox: " << why << '\n';
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
    QTextStream out(stdout);
    print(out, files);
}
