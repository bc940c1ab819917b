#pragma once

#include "Descriptor.h"

#include <QtGlobal>

#include <optional>

class QString;

/// The turn to upload without a window: of the programs of one name one at a time has it, also where no session bus
/// lets them find each other. It goes with the process, however that ends. Belongs to one thread.
class HiddenTurn {
public:
    /// Whether this process has the turn of @p programName from now on, or has had it already. Where the system gives
    /// no locks everybody has it.
    bool take(const QString& programName);
    void giveUp();

private:
    std::optional<Descriptor> m_file;
    std::optional<qint64> m_place; ///< In the file, of the turn that we have.
};
