#pragma once

#include <QDialog>

#include <functional>
#include <optional>

/// Says what the program is waiting for, with a button that ends the waiting. Application-modal.
class WaitingPanel final : public QDialog {
    Q_OBJECT

public:
    /// @p what: a line of plain text such as "Deleting “a”…". It is not shown yet.
    WaitingPanel(QWidget* parent, const QString& what);
};

/// Has @p call, which may block and owns all that it uses, run on a thread of its own, and waits for its answer as a
/// plain call would: until then nothing else of the program runs, and input is dropped (see LoopSuspension and
/// InputBlocker). Windows are painted all the same, and after half a second a WaitingPanel over @p parent, which may be
/// null, says @p what is going on. Answers std::nullopt when the user has stopped waiting; the call then ends by
/// itself, however late, and its answer is dropped. Nothing else ends the waiting: the program refuses to quit
/// meanwhile.
[[nodiscard]] std::optional<bool> waitForAnswer(QWidget* parent, const QString& what, std::function<bool()> call);
