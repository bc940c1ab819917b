#include "ReplacementSearch.h"

#include "Addressing.h"
#include "LocalName.h"
#include "PathText.h"
#include "TreePath.h"

#include <QElapsedTimer>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int pieceMs = 5; ///< So long a piece may take.
constexpr int stepsBetweenLooks = 50; ///< At the clock.

/// "Requested action not taken" (RFC 959, section 4.2).
constexpr int notTaken = 550;

/// The same for names that some server may take for the same.
QString keyOf(const QString& name)
{
    return name.normalized(QString::NormalizationForm_C).toCaseFolded();
}

/// What @p path (TreePath) is called, and in which folder below the destination.
QString nameOf(const QString& path)
{
    return PathText::lastPathComponent(path);
}

QString folderOf(const QString& path)
{
    return u""_s + TreePath::folder(path); // A null text is the destination itself.
}

/// Whether the server that lists @p entry would take @p name for the same. Those that list like DOS ignore the case.
bool isSameName(const ListingEntry& entry, const QString& listed, const QString& name)
{
    return !entry.mode
        || listed.normalized(QString::NormalizationForm_C) == name.normalized(QString::NormalizationForm_C);
}

/// Whether a server that completes a listing with @p reply says that it is not the whole one.
bool saysNotWhole(const QString& reply)
{
    const auto words = { u"truncated"_s, u"unable to read"_s, u"failed to open"_s };
    return std::any_of(words.begin(), words.end(),
                       [&reply](const QString& word) { return reply.contains(word, Qt::CaseInsensitive); });
}

} // namespace

ReplacementSearch::ReplacementSearch(FTPListController& controller, Destination destination, const PathList& files,
                                     PathList before, bool isLineBusy)
    : m_controller(controller)
    , m_destination(std::move(destination))
    , m_files(files)
    , m_before(std::move(before))
    , m_isLineBusy(isLineBusy)
    , m_isFound(files.size())
{
    m_controller.setDelegate(m_anchor.ref<FTPListControllerDelegate>(this));
    m_controller.setEncryptionSource([encryption = m_destination.encryption] { return encryption; });
    connect(&m_timer, &QTimer::timeout, this, &ReplacementSearch::work);
    m_timer.start(0);
}

ReplacementSearch::~ReplacementSearch()
{
    if (m_controller.isReceiving()) {
        m_controller.stopReceiveWithStatus(u"List Stopped"_s);
    }
}

// The files.

void ReplacementSearch::work()
{
    QElapsedTimer time;
    time.start();
    do {
        for (int count = 0; count < stepsBetweenLooks; ++count) {
            if (!step()) {
                return;
            }
        }
    } while (!time.hasExpired(pieceMs));
}

/// False when there is nothing to do but to wait.
bool ReplacementSearch::step()
{
    if (m_nextFile < m_files.size()) {
        take(m_nextFile++);
        return true;
    }
    if (m_nextBefore < m_before.size()) {
        compareWith(m_before.at(m_nextBefore++));
        return true;
    }
    m_timer.stop();
    listNext();
    return false;
}

void ReplacementSearch::take(qsizetype index)
{
    const QString path = m_files.at(index);
    if (TreePath::isFolder(path)) {
        return;
    }
    ++m_fileCount;
    Folder& folder = folderAt(folderOf(path));
    if (fileCalled(folder, nameOf(path))) {
        note({ .index = index, .place = Found::Place::SentBefore });
    } else {
        folder.files.insert(keyOf(nameOf(path)), index);
    }
}

void ReplacementSearch::compareWith(const QString& sentBefore)
{
    const auto folder = m_folders.constFind(folderOf(sentBefore));
    if (folder == m_folders.cend() || TreePath::isFolder(sentBefore)) {
        return;
    }
    if (const std::optional<qsizetype> index = fileCalled(*folder, nameOf(sentBefore))) {
        note({ .index = *index, .place = Found::Place::SentBefore });
    }
}

/// That at @p path below the destination, with the ones that it lies in.
ReplacementSearch::Folder& ReplacementSearch::folderAt(const QString& path)
{
    if (!path.isEmpty() && !m_folders.contains(path)) {
        folderAt(path.left(std::max<qsizetype>(path.lastIndexOf(u'/'), 0))).folders.insert(keyOf(nameOf(path)), path);
    }
    return m_folders[path];
}

std::optional<qsizetype> ReplacementSearch::fileCalled(const Folder& folder, const QString& name) const
{
    const auto [first, end] = folder.files.equal_range(keyOf(name));
    const auto file = std::find_if(first, end, [&](qsizetype index) { return nameOf(m_files.at(index)) == name; });
    return file == end ? std::nullopt : std::optional(*file);
}

void ReplacementSearch::note(const Found& found)
{
    if (!m_isFound.testBit(found.index)) {
        m_isFound.setBit(found.index);
        m_found.push_back(found);
    }
}

// The listings.

void ReplacementSearch::listNext()
{
    if (m_toList.isEmpty()) {
        end();
        return;
    }
    m_listing = { .path = m_toList.takeLast(), .isUnderWay = true };
    const QString location = m_listing.path.isEmpty() ? m_destination.location
                                                      : Addressing::folderBelow(m_destination.location, m_listing.path);
    m_controller.setStandsBack(m_isLineBusy); // What is sent needs its connection for the next file.
    m_listing.isStarting = true;
    m_controller.startReceive(location, m_destination.username, m_destination.password);
    m_listing.isStarting = false;
    if (!m_controller.isReceiving()) {
        m_failure = m_listing.status;
        end();
    }
}

void ReplacementSearch::updateListingStatus(const QString& status)
{
    m_listing.status = status;
    if (m_listing.isUnderWay && !m_listing.isStarting && !m_controller.isReceiving()) {
        m_listing.isUnderWay = false;
        QTimer::singleShot(0, this, &ReplacementSearch::listingEnded); // The controller has more to do.
    }
}

void ReplacementSearch::addListEntries(const QList<ListingEntry>& entries)
{
    const Folder& folder = m_folders[m_listing.path];
    for (const ListingEntry& entry : entries) {
        const QString listed = localName(entry);
        m_listing.hasDotNames
            = m_listing.hasDotNames || (listed.startsWith(u'.') && listed != u"."_s && listed != u".."_s);
        const QString key = keyOf(listed);
        const auto [firstFile, lastFile] = folder.files.equal_range(key);
        for (auto file = firstFile; file != lastFile && entry.type != ListingEntry::folderType; ++file) {
            if (isSameName(entry, listed, nameOf(m_files.at(*file)))) {
                note({ .index = *file, .place = Found::Place::Listed, .size = entry.size, .modDate = entry.modDate });
            }
        }
        const auto [firstFolder, lastFolder] = folder.folders.equal_range(key);
        for (auto below = firstFolder; below != lastFolder && entry.type != ListingEntry::plainFileType; ++below) {
            if (isSameName(entry, listed, nameOf(*below))) {
                choose(*below);
            }
        }
    }
}

/// Has @p folder listed, once.
void ReplacementSearch::choose(const QString& folder)
{
    if (!m_chosen.contains(folder)) {
        m_chosen.insert(folder);
        m_toList.append(folder);
    }
}

void ReplacementSearch::listingEnded()
{
    const FTPStreamError& error = m_controller.lastError();
    if (m_controller.hasSucceeded() && saysNotWhole(m_controller.lastReply())) {
        m_failure = m_controller.lastReply();
        end();
        return;
    }
    if (m_controller.hasSucceeded()) {
        folderListed();
    } else if (error.domain != FTPStreamError::Domain::FTP || error.code != notTaken
               || error.stage != FTPStreamError::Stage::EnteringFolder) {
        const bool isUntrusted = error.domain == FTPStreamError::Domain::Certificate;
        m_failure = isUntrusted ? u"the server’s certificate is not trusted"_s : m_controller.failure(m_listing.status);
        end();
        return;
    }
    // Where we are not let in nothing can be replaced: the folder is made, or its files are refused.
    listNext();
}

/// Looks at what the listing has not: many servers leave out names that begin with ".".
void ReplacementSearch::folderListed()
{
    if (m_listing.hasDotNames) {
        return;
    }
    const Folder& folder = m_folders[m_listing.path];
    for (const qsizetype index : folder.files) {
        if (nameOf(m_files.at(index)).startsWith(u'.')) {
            note({ .index = index, .place = Found::Place::Unlisted });
        }
    }
    for (const QString& below : folder.folders) {
        if (nameOf(below).startsWith(u'.')) {
            choose(below); // It says itself whether it is there.
        }
    }
}

void ReplacementSearch::end()
{
    std::sort(m_found.begin(), m_found.end(),
              [](const Found& left, const Found& right) { return left.index < right.index; });
    QTimer::singleShot(0, this, &ReplacementSearch::ended);
}
