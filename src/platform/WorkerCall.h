#pragma once

#include <QObject>

#include <functional>
#include <memory>
#include <optional>

/// A call that may block for as long as it likes, on a thread of its own. Nobody has to wait for it: it may outlive
/// this object, and the process may end while it runs.
class WorkerCall final : public QObject {
    Q_OBJECT

public:
    /// Starts @p call, which owns all that it uses. When the system has no thread left, its answer is false.
    explicit WorkerCall(std::function<bool()> call);
    /// Waits for nothing. The answer of a call that still runs is dropped.
    ~WorkerCall() override;

    /// std::nullopt as long as the call runs.
    std::optional<bool> answer() const;

signals:
    /// The answer is there. From the loop of this object's thread, never from inside the constructor.
    void answered();

private:
    struct Shared;

    std::shared_ptr<Shared> m_shared; ///< With the thread.
};
