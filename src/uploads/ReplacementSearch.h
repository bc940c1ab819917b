#pragma once

#include "Destination.h"
#include "FTPListController.h"
#include "PathList.h"
#include "WeakRef.h"

#include <QBitArray>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QStringList>
#include <QTimer>

#include <optional>
#include <vector>

/// Finds out which of some files would replace a file. The folders that they go to are listed afresh; many files are
/// gone through piece by piece, so that nothing else has to wait. Belongs to the main thread.
class ReplacementSearch final : public QObject, private FTPListControllerDelegate {
    Q_OBJECT

public:
    /// A file that is there already.
    struct Found {
        enum class Place {
            Listed, ///< In its folder on the server.
            SentBefore, ///< Nowhere yet: one of exactly that name is sent there before.
            AwaitingTry, ///< Likewise: one of exactly that name was lost, and is to be tried again.
            Unlisted, ///< Maybe: the server lists no names that begin with ".".
            Similar, ///< Maybe: one is, or is sent before, whose name some servers take for the same.
        };
        qsizetype index = 0; ///< Of the file that would replace it.
        Place place = Place::Listed;
        std::optional<qint64> size = {}; ///< In bytes; only of what is listed.
        std::optional<qint64> modDate = {}; ///< In milliseconds since the epoch; likewise.
        QString other = {}; ///< Where that is, below the destination; only of what is similar.
    };

    /// Looks whether @p files (TreePath), of which none is being sent yet, replace any in the folder @p destination, or
    /// any of @p before, which are sent before them, or of @p tries, which wait for another try. @p controller, which
    /// is idle, lists the folders.
    ReplacementSearch(FTPListController& controller, Destination destination, const PathList& files, PathList before,
                      PathList tries);
    /// Ends the listing that runs.
    ~ReplacementSearch() override;

    /// So are @p files, as comes out only now. When they have been compared ended() comes, once more if it has come.
    void alsoBefore(const PathList& files);

    /// Whether all is known, or cannot be.
    bool isOver() const { return m_stage == Stage::Listed && !m_timer.isActive(); }
    /// Once each, in the order of the files. A folder with the name of a file is none of them: it is not replaced.
    const std::vector<Found>& found() const { return m_found; }
    /// How many of the paths are files: some stand for empty folders.
    qsizetype fileCount() const { return m_fileCount; }
    /// Why it is not known which files are there, for people; null when it is.
    const QString& failure() const { return m_failure; }

signals:
    /// It is all known, or cannot be, unless that has changed meanwhile. Whoever hears of it may destroy this.
    void ended();

private:
    enum class Stage {
        Reading, ///< The files.
        Listing,
        Listed, ///< Or it cannot be.
    };
    /// What goes into a folder. A key is the same for names that some server takes for the same.
    struct Folder {
        QHash<QString, qsizetype> files = {}; ///< The first one of each name.
        QMultiHash<QString, QString> folders = {}; ///< Their paths below the destination, by keys of their names.
    };

    void updateListingStatus(const QString& status) override;
    void addListEntries(const QList<ListingEntry>& entries) override;

    void work();
    bool step();
    void take(qsizetype index);
    void compareWith(const QString& other, Found found);
    void compareWithOneOf(PathList& paths, Found::Place place);
    Folder& folderAt(const QString& path);
    void note(const Found& found);
    void choose(const QString& folder);
    void listNext();
    void listingEnded();
    void folderListed();
    void end();
    void tell();

    FTPListController& m_controller;
    Destination m_destination;
    PathList m_files;
    PathList m_before; ///< Those that have not been compared yet.
    PathList m_tries; ///< Likewise.
    bool m_isLineBusy; ///< Something is sent before.
    QTimer m_timer; ///< Runs while there are paths to be gone through.
    Stage m_stage = Stage::Reading;
    qsizetype m_nextFile = 0;
    qsizetype m_fileCount = 0;
    QHash<QString, Folder> m_folders; ///< By their paths below the destination, which has none.
    /// The first files of all that may be one to a server, by the keys of their folders and those of their names.
    QHash<QString, QHash<QString, qsizetype>> m_firsts;
    QStringList m_toList{ QString() }; ///< The last one is next.
    QSet<QString> m_chosen; ///< What stood there.
    struct {
        QString path;
        bool isUnderWay = false;
        bool isStarting = false; ///< The controller is idle until it has started, whatever it says meanwhile.
        bool hasDotNames = false;
        QString status = {};
    } m_listing;
    std::vector<Found> m_found;
    QBitArray m_isFound; ///< One for each file, more than similar.
    QBitArray m_isSimilar; ///< Likewise.
    QString m_failure;
    WeakAnchor m_anchor; ///< Last, so that it dies first.
};
