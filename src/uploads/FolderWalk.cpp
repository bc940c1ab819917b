#include "FolderWalk.h"

#include "Descriptor.h"
#include "LocalPath.h"
#include "PostedCall.h"
#include "TreePath.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <mutex>
#include <set>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// A piece is reported when it has so many paths, or is so old.
constexpr qsizetype mostInPiece = 500;
constexpr auto oldestPiece = 100ms;

struct CloseFolder {
    void operator()(DIR* folder) const { closedir(folder); }
};

/// @p path without what leads nowhere: a "/" that is one too many, ".", and names of nothing at its end.
QByteArray cleaned(const QByteArray& path)
{
    QByteArray clean;
    for (const QByteArray& part : path.split('/')) {
        if (!part.isEmpty() && part != ".") {
            clean += '/' + part;
        }
    }
    if (clean.endsWith("/..")) {
        std::array<char, PATH_MAX> real{};
        return ::realpath(clean.constData(), real.data()) == nullptr ? QByteArray() : QByteArray(real.data());
    }
    return clean;
}

} // namespace

/// What the thread works with. All but what is locked is for that thread alone.
class FolderWalk::Work {
public:
    Work(FolderWalk& walk, const PathList& dropped)
        : m_dropped(dropped.copied(0, dropped.size()))
        , m_walk(&walk)
    {
    }

    /// From the walk's thread: nobody listens any more.
    void end()
    {
        const std::lock_guard lock(m_mutex);
        m_walk = nullptr;
        m_isEnding = true;
    }

    void run()
    {
        m_pieceBegan = std::chrono::steady_clock::now(); // The thread may have come late.
        for (qsizetype index = 0; index < m_dropped.size() && !m_isEnding; ++index) {
            take(m_dropped.bytesAt(index).toByteArray(), index);
            m_done = index + 1;
        }
        sayPiece();
        say([](FolderWalk& walk) { emit walk.ended(); });
    }

    /// Instead of run(), where there is no thread for that: what was dropped comes as it is, and folders fail.
    void giveUp()
    {
        m_paths = m_dropped;
        m_done = m_dropped.size();
        sayPiece();
        say([](FolderWalk& walk) { emit walk.ended(); });
    }

private:
    struct Item {
        QByteArray name;
        bool isFolder;
    };
    /// A folder that is being gone through.
    struct Level {
        QByteArray path; ///< A TreePath's, "/" at its end.
        std::vector<Item> items = {}; ///< In the order of their names.
        size_t next = 0;
        bool isReported = false; ///< A path was that makes it on the server.
        bool isUnread = false; ///< Somewhere it could not be read: it has a path of its own that makes nothing.
    };
    using Identity = std::pair<dev_t, ino_t>;
    static Identity identityOf(const struct stat& status) { return { status.st_dev, status.st_ino }; }

    template <typename Signal> void say(Signal signal)
    {
        const std::lock_guard lock(m_mutex);
        if (m_walk != nullptr) {
            postCall(m_walk, [walk = m_walk, signal = std::move(signal)] { signal(*walk); });
        }
    }

    void sayPiece()
    {
        if (!m_paths.isEmpty() || !m_leftOut.isEmpty()) {
            say([paths = std::exchange(m_paths, {}), leftOut = std::exchange(m_leftOut, {}),
                 done = m_done](FolderWalk& walk) {
                walk.m_done = done;
                emit walk.found(paths, leftOut);
            });
        }
        m_pieceBegan = std::chrono::steady_clock::now();
    }

    void sayPieceIfDue()
    {
        const qsizetype size = m_paths.size() + m_leftOut.size();
        if (size >= mostInPiece || std::chrono::steady_clock::now() - m_pieceBegan > oldestPiece) {
            sayPiece();
        }
    }

    void add(QByteArrayView path)
    {
        m_paths.appendBytes(path);
        sayPieceIfDue();
    }

    void addUnread(Level& level)
    {
        level.isUnread = true;
        add(TreePath::ofUnread(level.path));
    }

    void leaveOut(const QByteArray& path)
    {
        m_leftOut.append(TreePath::plain(LocalPath::fromBytes(path)));
        sayPieceIfDue();
    }

    void take(const QByteArray& dropped, qsizetype index)
    {
        struct stat status = {};
        const bool isPath = !dropped.contains('\0'); // The system would stop there and find another item.
        if (!isPath || ::stat(dropped.constData(), &status) != 0 || !S_ISDIR(status.st_mode)) {
            m_done = index + 1; // With the piece that it comes in.
            add(dropped);
            return;
        }
        const QByteArray path = cleaned(dropped);
        const qsizetype slash = path.lastIndexOf('/');
        struct stat root = {};
        const bool isRoot = ::stat("/", &root) == 0 && identityOf(root) == identityOf(status);
        if (isRoot || slash < 0) {
            m_done = index + 1;
            leaveOut(dropped); // Nobody means all that this machine has, and it has no name.
            return;
        }
        const QByteArray name = path.sliced(slash + 1);
        say([text = LocalPath::fromBytes(name)](FolderWalk& walk) { emit walk.entered(text); });
        m_seen.clear();
        walk(TreePath::ofFolder(path.first(slash), name));
    }

    void walk(const QByteArray& top)
    {
        std::vector<Level> levels;
        enter(levels, top);
        while (!levels.empty() && !m_isEnding) {
            Level& level = levels.back();
            if (level.next == level.items.size()) {
                if (!level.isReported && !level.isUnread) {
                    level.isReported = true;
                    add(level.path);
                }
                const bool isReported = level.isReported;
                levels.pop_back();
                if (!levels.empty() && isReported) {
                    levels.back().isReported = true;
                }
                continue;
            }
            const Item item = level.items[level.next++];
            const QByteArray path = level.path + item.name;
            if (item.isFolder) {
                enter(levels, path + '/');
            } else {
                level.isReported = true;
                add(path);
            }
        }
    }

    /// Reads the folder at @p path, which goes on with its items, unless it was met before.
    void enter(std::vector<Level>& levels, const QByteArray& path)
    {
        const int follow = levels.empty() ? 0 : O_NOFOLLOW;
        const QByteArray bare = path.chopped(1); // With its "/" a link would be followed in any case.
        const int descriptor = ::open(bare.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK | follow);
        struct stat status = {};
        if (descriptor >= 0 && ::fstat(descriptor, &status) == 0 && !m_seen.insert(identityOf(status)).second) {
            ::close(descriptor);
            leaveOut(bare);
            return;
        }
        Level level{ .path = path };
        const std::unique_ptr<DIR, CloseFolder> folder(descriptor < 0 ? nullptr : ::fdopendir(descriptor));
        if (folder == nullptr && descriptor >= 0) {
            ::close(descriptor);
        }
        if (folder != nullptr) {
            read(*folder, level);
        } else {
            addUnread(level);
        }
        levels.push_back(std::move(level));
    }

    void read(DIR& folder, Level& level)
    {
        errno = 0;
        while (const dirent* const entry = m_isEnding ? nullptr : ::readdir(&folder)) {
            const QByteArray name(static_cast<const char*>(entry->d_name));
            if (name == "." || name == "..") {
                continue;
            }
            switch (kindOf(folder, *entry)) {
            case DT_REG:
                level.items.push_back({ name, false });
                break;
            case DT_DIR:
                level.items.push_back({ name, true });
                break;
            default:
                leaveOut(level.path + name);
            }
            errno = 0;
        }
        if (errno != 0) {
            addUnread(level); // What stands behind the error is not known.
        }
        std::sort(level.items.begin(), level.items.end(),
                  [](const Item& left, const Item& right) { return left.name < right.name; });
    }

    /// DT_REG also for a link to a file, and for what may not be looked at; DT_LNK for any other link.
    static int kindOf(DIR& folder, const dirent& entry)
    {
        int kind = entry.d_type;
        struct stat status = {};
        const auto look = [&](int flags) { return ::fstatat(dirfd(&folder), entry.d_name, &status, flags) == 0; };
        if (kind == DT_UNKNOWN) {
            kind = look(AT_SYMLINK_NOFOLLOW) ? IFTODT(status.st_mode) : int{ DT_REG };
        }
        if (kind == DT_LNK && (look(0) ? S_ISREG(status.st_mode) : errno == EACCES)) {
            kind = DT_REG;
        }
        return kind;
    }

    PathList m_dropped;
    qsizetype m_done = 0; ///< So many of these are dealt with when the present piece has been reported.
    std::set<Identity> m_seen; ///< Folders below the present dropped one, itself among them.
    PathList m_paths; ///< The present piece.
    QStringList m_leftOut; ///< Likewise.
    std::chrono::steady_clock::time_point m_pieceBegan;
    std::atomic<bool> m_isEnding = false;

    std::mutex m_mutex; ///< For what follows.
    FolderWalk* m_walk; ///< Null when nobody listens any more.
};

FolderWalk::FolderWalk(const PathList& dropped)
    : m_dropped(dropped)
    , m_work(std::make_shared<Work>(*this, dropped))
{
    try {
        std::thread([work = m_work] { work->run(); }).detach();
    } catch (const std::system_error&) {
        m_work->giveUp();
    }
}

FolderWalk::~FolderWalk()
{
    m_work->end();
}

PathList FolderWalk::rest() const
{
    return m_dropped.copied(m_done, m_dropped.size() - m_done);
}
