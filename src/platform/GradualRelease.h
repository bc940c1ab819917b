#pragma once

#include <QTimer>

#include <algorithm>
#include <deque>
#include <functional>
#include <memory>
#include <utility>

/// Destroys the contents of large containers in steps, each in its own turn of the loop, so that nothing else has to
/// wait for the whole. What is left when this is destroyed goes with it. Belongs to the thread that makes it.
class GradualRelease final {
public:
    static constexpr qsizetype itemsInATurn = 8192;

    GradualRelease();

    /// Takes over what @p container holds; it can be a sequence whose end is cheap to erase.
    template <typename Container> void take(Container container)
    {
        if (container.empty()) {
            return;
        }
        // A function has to be one that could be copied.
        m_containers.push_back([remains = std::make_shared<Container>(std::move(container))] {
            const auto end = remains->end();
            remains->erase(end - std::min<qsizetype>(itemsInATurn, static_cast<qsizetype>(remains->size())), end);
            return remains->empty();
        });
        m_timer.start();
    }
    bool isDone() const { return m_containers.empty(); }

private:
    void releasePiece();

    std::deque<std::function<bool()>> m_containers; ///< Each destroys a part; true: it was the last.
    QTimer m_timer;
};
