#include "ReplacementSearch.h"

#include "Addressing.h"
#include "KnownTrust.h"
#include "LocalName.h"
#include "LocalPath.h"
#include "TreePath.h"
#include "TrustedCertificates.h"

#include <QElapsedTimer>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int pieceMs = 5; ///< So long a piece may take.
constexpr int stepsBetweenLooks = 50; ///< At the clock.

/// "Requested action not taken" (RFC 959, section 4.2).
constexpr int notTaken = 550;

/// The same for names that some server takes for the same, as it ignores the case, or how letters are composed, or
/// blanks around them, or dots at their end.
QString keyOf(const QString& name)
{
    QString key = name.normalized(QString::NormalizationForm_C).toCaseFolded().trimmed();
    while (key.endsWith(u'.') || key.endsWith(u' ')) {
        key.chop(1);
    }
    return key;
}

/// All keys of @p name, each once. Some servers take each byte for a character, or have "_" for a blank at the end.
QStringList keysOf(const QString& name)
{
    const QString key = keyOf(name);
    QStringList keys(key);
    if (const QString ofBytes = keyOf(QString::fromLatin1(LocalPath::toBytes(name))); ofBytes != key) {
        keys.append(ofBytes);
    }
    if (name.endsWith(u' ')) {
        keys.append(key + u'_');
    }
    return keys;
}

QString keyOfFolder(const QString& path)
{
    QStringList names = path.split(u'/');
    std::transform(names.cbegin(), names.cend(), names.begin(), keyOf);
    return names.join(u'/');
}

/// What @p path below the destination is called, and in which folder.
QString nameOf(const QString& path)
{
    return path.mid(path.lastIndexOf(u'/') + 1);
}

QString folderOf(const QString& path)
{
    return path.left(std::max<qsizetype>(path.lastIndexOf(u'/'), 0));
}

} // namespace

ReplacementSearch::ReplacementSearch(FTPListController& controller, Destination destination, const PathList& files,
                                     PathList before, PathList tries)
    : m_controller(controller)
    , m_destination(std::move(destination))
    , m_files(files)
    , m_before(std::move(before))
    , m_tries(std::move(tries))
    , m_isLineBusy(!m_before.isEmpty())
    , m_isFound(files.size())
    , m_isSimilar(files.size())
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
    if (!m_before.isEmpty()) {
        compareWithOneOf(m_before, Found::Place::SentBefore);
        return true;
    }
    if (!m_tries.isEmpty()) {
        compareWithOneOf(m_tries, Found::Place::AwaitingTry);
        return true;
    }
    m_timer.stop();
    if (m_stage == Stage::Reading) {
        m_stage = Stage::Listing;
        listNext();
    } else if (m_stage == Stage::Listed) {
        tell();
    }
    return false;
}

void ReplacementSearch::alsoBefore(const PathList& files)
{
    m_before.append(files);
    m_timer.start(0);
}

void ReplacementSearch::take(qsizetype index)
{
    if (TreePath::isFolder(m_files.at(index))) {
        return;
    }
    ++m_fileCount;
    const QString path = TreePath::below(m_files.at(index));
    Folder& folder = folderAt(folderOf(path));
    if (folder.files.contains(nameOf(path))) {
        note({ .index = index, .place = Found::Place::SentBefore });
        return;
    }
    folder.files.insert(nameOf(path), index);
    QHash<QString, qsizetype>& firsts = m_firsts[keyOfFolder(folderOf(path))];
    for (const QString& key : keysOf(nameOf(path))) {
        if (const auto first = firsts.constFind(key); first == firsts.cend()) {
            firsts.insert(key, index);
        } else {
            note({ .index = index, .place = Found::Place::Similar, .other = TreePath::below(m_files.at(*first)) });
        }
    }
}

/// Notes which files would replace @p other, below the destination: the one of exactly that name as @p found, which has
/// no index yet. Of those with similar names the first one is enough: the others are similar to that.
void ReplacementSearch::compareWith(const QString& other, Found found)
{
    if (const auto folder = m_folders.constFind(folderOf(other)); folder != m_folders.cend()) {
        if (const auto file = folder->files.constFind(nameOf(other)); file != folder->files.cend()) {
            found.index = *file;
            note(found);
        }
    }
    const auto firsts = m_firsts.constFind(keyOfFolder(folderOf(other)));
    if (firsts == m_firsts.cend()) {
        return;
    }
    for (const QString& key : keysOf(nameOf(other))) {
        const auto first = firsts->constFind(key);
        if (first != firsts->cend() && TreePath::below(m_files.at(*first)) != other) {
            note({ .index = *first, .place = Found::Place::Similar, .other = other });
        }
    }
}

/// Takes the first one out of @p paths.
void ReplacementSearch::compareWithOneOf(PathList& paths, Found::Place place)
{
    const QString path = paths.takeFirst();
    if (!TreePath::isFolder(path)) {
        compareWith(TreePath::below(path), { .place = place });
    }
}

/// That at @p path below the destination, with the ones that it lies in.
ReplacementSearch::Folder& ReplacementSearch::folderAt(const QString& path)
{
    if (!path.isEmpty() && !m_folders.contains(path)) {
        Folder& parent = folderAt(folderOf(path));
        for (const QString& key : keysOf(nameOf(path))) {
            parent.folders.insert(key, path);
        }
    }
    return m_folders[path];
}

void ReplacementSearch::note(const Found& found)
{
    QBitArray& isNoted = found.place == Found::Place::Similar ? m_isSimilar : m_isFound;
    if (!isNoted.testBit(found.index)) {
        isNoted.setBit(found.index);
        m_found.push_back(found);
    }
}

// The listings.

void ReplacementSearch::listNext()
{
    if (m_toList.isEmpty() || m_fileCount == 0) {
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
    Folder& folder = m_folders[m_listing.path];
    const QString prefix = m_listing.path.isEmpty() ? QString() : m_listing.path + u'/';
    for (const ListingEntry& entry : entries) {
        const QString listed = localName(entry);
        m_listing.hasDotNames
            = m_listing.hasDotNames || (listed.startsWith(u'.') && listed != u"."_s && listed != u".."_s);
        if (entry.type != ListingEntry::folderType) {
            compareWith(prefix + listed,
                        { .place = Found::Place::Listed, .size = entry.size, .modDate = entry.modDate });
        }
        if (entry.type != ListingEntry::plainFileType) {
            for (const QString& key : keysOf(listed)) {
                while (folder.folders.contains(key)) {
                    choose(folder.folders.take(key));
                }
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
    if (m_controller.isWhole()) {
        folderListed();
    } else if (error.domain != FTPStreamError::Domain::FTP || error.code != notTaken
               || error.stage != FTPStreamError::Stage::EnteringFolder) {
        const bool isUntrusted = error.domain == FTPStreamError::Domain::Certificate;
        m_failure = isUntrusted ? untrustedText(TrustedCertificates::standard(), m_destination.location)
                                : m_controller.whyNotWhole(m_listing.status);
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
    for (auto file = folder.files.cbegin(); file != folder.files.cend(); ++file) {
        if (file.key().startsWith(u'.')) {
            note({ .index = *file, .place = Found::Place::Unlisted });
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
    m_stage = Stage::Listed;
    if (!m_timer.isActive()) {
        tell();
    }
}

void ReplacementSearch::tell()
{
    std::sort(m_found.begin(), m_found.end(), [](const Found& left, const Found& right) {
        return std::pair(left.index, left.place) < std::pair(right.index, right.place);
    });
    const auto isSameFile = [](const Found& left, const Found& right) { return left.index == right.index; };
    m_found.erase(std::unique(m_found.begin(), m_found.end(), isSameFile), m_found.end()); // What is known stays.
    QTimer::singleShot(0, this, &ReplacementSearch::ended);
}
