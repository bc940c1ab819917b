#pragma once

#include "Descriptor.h"

#include <QString>

#include <memory>
#include <optional>

/// Tells runs of the program that go on from those that have ended, however they ended: each has a number of its own,
/// and a lock on the byte of that number in a file, which the system takes away with the process. Belongs to one
/// thread.
class RunLocks {
public:
    /// @p path: of the file, which is made where there is none, for the user alone.
    explicit RunLocks(const QString& path);

    /// A number that no run that goes on has, and that is this run's from now on; std::nullopt when the file cannot be
    /// made or locked.
    std::optional<qint64> take();
    /// Whether @p run is another run that goes on, or nobody can say.
    bool isTaken(qint64 run) const;

    /// While one lives that isAlone(), no other run has such a one. It waits for nobody, who may have been stopped.
    class Alone {
    public:
        explicit Alone(const RunLocks& locks);
        Alone(const Alone&) = delete;
        Alone& operator=(const Alone&) = delete;
        ~Alone();

        bool isAlone() const { return m_isAlone; }

    private:
        const RunLocks& m_locks;
        bool m_isAlone;
    };

private:
    Descriptor m_file;
};
