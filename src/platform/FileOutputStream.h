#pragma once

#include <QByteArray>
#include <QString>

#include <span>

namespace quillbox {

/// A local file that is written from its beginning. Making the stream always succeeds: a file that cannot be opened
/// shows when it is written to or closed.
class FileOutputStream {
public:
    /// What becomes of a file that is there already.
    enum class Existing {
        Overwritten, ///< It is emptied at once.
        KeptUntilWhole, ///< A new file beside it ("NAME.part", else "NAME 2.part" and so on, a long name shortened)
                        ///< takes its name when closed.
        AlwaysKept, ///< Likewise, but nothing is written where the folder allows no file beside it, and one that cannot
                    ///< take the name is removed.
    };

    explicit FileOutputStream(QString path, Existing existing = Existing::Overwritten);
    FileOutputStream(const FileOutputStream&) = delete;
    FileOutputStream& operator=(const FileOutputStream&) = delete;
    ~FileOutputStream(); ///< As discard().

    /// Creates the file, or empties the one that is there. Never follows a link: one in the file's place is removed.
    /// What is neither cannot be opened. Never waits, also not for a named pipe. A file beside the one that is kept has
    /// its group and mode; where the folder allows none, the one that is there is overwritten after all, unless it is
    /// always kept.
    void open();

    bool isOpen() const { return m_descriptor >= 0; }

    /// Writes up to @p data.size() bytes; answers how many, -1 on failure.
    [[nodiscard]] qint64 write(std::span<const char> data);

    /// The file is whole. One that takes another's name is on the disk before it does. False when it could not be
    /// opened, written or closed: then its contents are not what was written. False, too, when the whole file cannot
    /// take its name: then it stays beside it, unless the old one is always kept.
    bool close();

    /// The path of a whole file that could not take its name; null when there is none.
    const QString& strandedPath() const { return m_strandedPath; }

    /// The file will not become whole. What was written stays, except beside a file that is kept: that alone stays.
    void discard();

private:
    enum class Beside {
        Open,
        NotAllowed, ///< No file can be made there; the one that is there may be overwritten.
        NotPossible,
    };

    Beside openBeside(const QByteArray& name);
    void startWriteBack(qint64 count);
    void takeName();
    void closeDescriptor();

    QString m_path;
    Existing m_existing;
    QByteArray m_part; ///< The file that is written beside the one at the path; empty: none.
    QString m_strandedPath;
    qint64 m_notWrittenBack = 0;
    int m_descriptor = -1;
    bool m_failed = true; ///< Until it is open.
};

} // namespace quillbox

using quillbox::FileOutputStream;
